#pragma once

#include <QString>

// A lock file that one process at a time can hold. The system lets go of it when the process ends, however it ends, so
// none is ever stale, whatever the file holds.
class InstanceLock final
{
    Q_DISABLE_COPY_MOVE(InstanceLock)

public:
    explicit InstanceLock(const QString &path);
    ~InstanceLock();

    // At once; again where another process may have let go of it since.
    void tryLock();

    // True where another process has it; false also where it cannot be made at all.
    [[nodiscard]] bool isHeldElsewhere() const { return m_isHeldElsewhere; }

private:
    const int m_descriptor;
    bool m_isHeldElsewhere = false;
};
