#pragma once

#include <QString>

/// The name of the toggle channel between a running instance and later starts.
inline const QString kIpcName = QStringLiteral("tarq-linux-ipc");

// What the program asks of the module that holds the running instance: the whole of a start that
// isn't over at once. Returns the exit status.
using RunInstance = int(int argc, char* argv[]);
extern "C" __attribute__((visibility("default"))) RunInstance tarqRunInstance;
inline constexpr auto kRunInstanceSymbol = "tarqRunInstance";
