#include "FuzzSupport.h"
#include "app/DotEnv.h"

#include <QByteArray>
#include <QMap>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString kFileName = u"fuzz.env"_s;

// As bytes: decoded, two names may look the same.
using Environment = QMap<QByteArray, QByteArray>;

Environment currentEnvironment()
{
    Environment environment;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const QByteArray text(*variable);
        const qsizetype equals = text.indexOf('=');
        environment.insert(text.first(equals), text.sliced(equals + 1));
    }
    return environment;
}

void restore(const Environment& before, const Environment& after)
{
    for (const QByteArray& name : after.keys()) {
        if (before.contains(name)) {
            qputenv(name.constData(), before.value(name));
        } else {
            qunsetenv(name.constData());
        }
    }
}

} // namespace

// The input is a .env file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    qputenv("PRESET", "of the real environment");
    const Environment before = currentEnvironment();
    const QString path = Fuzz::homePath(kFileName);
    Fuzz::writeFile(path, Fuzz::bytes(data, size));

    loadDotEnv(path);
    const Environment after = currentEnvironment();
    for (const auto& [name, value] : before.asKeyValueRange()) {
        Fuzz::require(
            value.isEmpty() || after.value(name) == value, "a variable that has a value keeps it");
    }
    for (const auto& [name, value] : after.asKeyValueRange()) {
        Fuzz::require(
            before.contains(name) || value == value.trimmed(), "a value has no blanks around it");
    }
    loadDotEnv(path);
    Fuzz::require(currentEnvironment() == after, "reading a file again changes nothing");
    restore(before, after);
    Fuzz::require(currentEnvironment() == before, "the target cleans up behind itself");
    return 0;
}
