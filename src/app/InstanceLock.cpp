#include "app/InstanceLock.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

InstanceLock::InstanceLock(const QString &path)
    : m_descriptor(
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR))
{
    tryLock();
}

InstanceLock::~InstanceLock()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void InstanceLock::tryLock()
{
    m_isHeldElsewhere = m_descriptor >= 0 && ::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}
