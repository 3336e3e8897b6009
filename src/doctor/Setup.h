#pragma once

#include <QString>
#include <QStringList>

#include <functional>

// What makes Tarq arrive on this desktop without an editor: the variable in the user's .env file,
// and a key for `tarq-linux --toggle`.
namespace Doctor {

/// Asks before it writes anything, by `confirm`, and tells what it did by `tell`. Returns whether
/// all that was agreed to worked.
[[nodiscard]] bool setUp(const std::function<bool(const QString& question)>& confirm,
    const std::function<void(const QString& line)>& tell);

/// Takes back what setUp() writes, whoever wrote it.
[[nodiscard]] bool undoSetUp(const std::function<void(const QString& line)>& tell);

} // namespace Doctor
