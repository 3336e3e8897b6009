#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

// What every fuzz target stands on. Before the first input a target gets a home of its own, and an
// application on a platform without screens; a warning of Qt about how it is used ends it.
namespace Fuzz {

/// Ends the target, which leaves the input behind, unless the promise is kept.
void require(bool kept, const char* promise);

/// A path in the target's own home.
QString homePath(const QString& relativePath);
QByteArray readFile(const QString& path);
void writeFile(const QString& path, const QByteArray& content);

/// The input as it comes from libFuzzer.
QByteArray bytes(const uint8_t* data, size_t size);

/// Whether a text of the JSON may begin with a byte order mark, raw or escaped. Qt's reader drops
/// it, so that such a text isn't what it was once it has been saved and loaded. Nobody misses it.
bool mayHaveByteOrderMark(const QByteArray& json);

/// Runs events, and what is to be deleted later, until there are none.
void settle();

/// Waits for events until the condition holds. One that never does is reported by libFuzzer as an
/// input that takes too long.
template <typename Condition> void waitUntil(Condition condition);

/// Waits for something to happen, and lets it.
void waitForEvents();

} // namespace Fuzz

template <typename Condition> void Fuzz::waitUntil(Condition condition)
{
    while (!condition()) {
        waitForEvents();
    }
}
