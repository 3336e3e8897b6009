#pragma once

#include "doctor/Finding.h"

class SettingsStore;

namespace Doctor {

/// Records from the chosen microphone for half a second and tells the highest level. Nothing of the
/// recording is kept.
[[nodiscard]] Finding examineMicrophone(const SettingsStore& settings);

} // namespace Doctor
