#include "app/InstanceModule.h"

#include "BuildId.h"

#include <QDebug>
#include <QFile>

#include <dlfcn.h>
#include <sys/auxv.h>

#include <filesystem>

namespace {

// The module lies beside the program where both were built, and in a directory of its own where
// they were installed. A path is bytes here, since Qt's strings hold only those of the locale; and
// it is what the kernel was asked to run, which needs no /proc to read, is never found by way of
// the current directory, and is the new program after an upgrade.
std::filesystem::path modulePath(std::error_code& error)
{
    // The kernel hands all of its values over as numbers.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    const auto* const executed = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    const auto here = std::filesystem::canonical(executed, error).parent_path();
    const auto beside = here / TARQ_INSTANCE_MODULE;
    std::error_code absent;
    return std::filesystem::exists(beside, absent)
        ? beside
        : here / TARQ_MODULE_DIRECTORY / TARQ_INSTANCE_MODULE;
}

int refuse(const QString& reason)
{
    qWarning().noquote() << "Tarq is not installed completely:" << reason;
    return 1;
}

} // namespace

int runInstanceModule(int argc, char* argv[])
{
    std::error_code error;
    const std::filesystem::path path = modulePath(error);
    if (error) {
        return refuse(QString::fromStdString(error.message()));
    }
    void* const module = dlopen(path.c_str(), RTLD_LAZY);
    if (module == nullptr) {
        return refuse(QFile::decodeName(dlerror()));
    }
    using RunInstance = int(int argc, char* argv[]);
    void* const entry = dlsym(module, TARQ_ENTRY_NAME);
    if (entry == nullptr) {
        return refuse(QFile::decodeName(path.c_str())
            + QStringLiteral(" is of another build than the program. Was an upgrade interrupted?"));
    }
    return reinterpret_cast<RunInstance*>(entry)(argc, argv);
}
