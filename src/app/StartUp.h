#pragma once

#include <QByteArray>
#include <QString>

class SettingsStore;

// What every start of the program does, whether it becomes the running instance or ends at once.

/// For a start that shows nothing: lets Qt run without a display, on its smallest platform, unless
/// the user has chosen one. To be called before the application object exists.
void doWithoutDisplay();

/// Qt Multimedia's back end for FFmpeg, since Qt 6.8, looks for video hardware at the first
/// recording and tells what it found. Neither is wanted of a program that only listens. To be
/// called before the first use of a microphone; QT_LOGGING_RULES brings the lines back.
void keepMediaBackendSilent();

/// Names the application, and leaves its end to a quit request alone.
void setIdentity();

/// The value that a variable will have once the .env files are read, for what has to be known
/// before the application object exists.
[[nodiscard]] QString foreseenVariable(const QByteArray& name);

/// Reads the user's .env file, then the one beside the program.
void loadEnvironmentFiles();

/// Makes the private directory and its files, and loads the settings. A failure is logged, and ends
/// nothing.
void prepareSettings(SettingsStore& settings);
