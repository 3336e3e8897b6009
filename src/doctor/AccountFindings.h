#pragma once

#include "doctor/Finding.h"

#include <QList>

class SettingsStore;

// What a dictation needs beyond this desktop.
namespace Doctor {

/// Which of the program's variables are set; their values are nobody's business.
[[nodiscard]] QList<Finding> examineVariables();
/// Whether worker and auth service answer, whatever they say. Waits for five seconds at most.
[[nodiscard]] QList<Finding> examineServers();
[[nodiscard]] Finding examineSession(const SettingsStore& settings);
/// Where recordings lie that weren't transcribed.
[[nodiscard]] Finding examineRecordings();

} // namespace Doctor
