#include "FuzzSupport.h"
#include "app/DotEnv.h"

#include <QProcessEnvironment>

using namespace Qt::StringLiterals;

namespace {

const QString kFileName = u"fuzz.env"_s;

void restore(const QProcessEnvironment& before, const QProcessEnvironment& after)
{
    for (const QString& name : after.keys()) {
        if (!before.contains(name)) {
            qunsetenv(name.toUtf8().constData());
        } else {
            qputenv(name.toUtf8().constData(), before.value(name).toUtf8());
        }
    }
}

} // namespace

// The input is a .env file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    qputenv("PRESET", "of the real environment");
    const QProcessEnvironment before = QProcessEnvironment::systemEnvironment();
    const QString path = Fuzz::homePath(kFileName);
    Fuzz::writeFile(path, Fuzz::bytes(data, size));

    loadDotEnv(path);
    const QProcessEnvironment after = QProcessEnvironment::systemEnvironment();
    for (const QString& name : before.keys()) {
        Fuzz::require(before.value(name).isEmpty() || after.value(name) == before.value(name),
            "a variable that has a value keeps it");
    }
    for (const QString& name : after.keys()) {
        Fuzz::require(before.contains(name) || after.value(name) == after.value(name).trimmed(),
            "a value has no blanks around it");
    }
    loadDotEnv(path);
    Fuzz::require(
        QProcessEnvironment::systemEnvironment() == after, "reading a file again changes nothing");
    restore(before, after);
    return 0;
}
