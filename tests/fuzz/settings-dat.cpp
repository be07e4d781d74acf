// The file settings.dat to the identity of the product.

#include "fuzz/Fuzzing.h"
#include "settings/CAppSetting.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

int file = -1;

} // namespace

int LLVMFuzzerInitialize(int *, char ***)
{
    silence();
    file = ::memfd_create("settings.dat", 0);
    FUZZ_VERIFY(file >= 0);
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FUZZ_VERIFY(::ftruncate(file, 0) == 0 && ::pwrite(file, data, size, 0) == ssize_t(size));
    CAppSetting &setting = *CAppSetting::instance();
    for (QString *field : {&setting.companyName, &setting.productName, &setting.version, &setting.updateAddress})
        field->clear();
    QByteArray name = "/proc/self/fd/" + QByteArray::number(file);
    const QString text = setting.code(name.data());
    FUZZ_VERIFY(text.size() <= int(size));
    setting.parseProductInformation(text);
    for (const QString &value : {setting.companyName, setting.productName, setting.version})
        FUZZ_VERIFY(value.size() <= text.size());
    return 0;
}
