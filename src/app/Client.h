#pragma once

#include "app/CommandLine.h"

#include <QString>

/// The name of the toggle channel between a running instance and later starts.
inline const QString kIpcName = QStringLiteral("tarq-linux-ipc");

/// Whether a start of this mode is over once the settings have been read.
[[nodiscard]] bool isClientMode(CommandLine::Mode mode);

/// What such a start does last; returns the exit status.
[[nodiscard]] int runClientMode(CommandLine::Mode mode);
