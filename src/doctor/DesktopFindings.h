#pragma once

#include "assist/AssistFeatures.h"
#include "doctor/Finding.h"

#include <QList>

// What this desktop offers. Each asks the session itself, and waits for the answer for a second or
// two at most.
namespace Doctor {

/// The session, and by which way a text will arrive.
[[nodiscard]] QList<Finding> examineDelivery(Assist::Features features);
/// The tools that the program calls here, with their versions.
[[nodiscard]] QList<Finding> examineTools();
[[nodiscard]] Finding examinePortals();
/// Whether a running instance listens on its channel.
[[nodiscard]] Finding examineChannel();
[[nodiscard]] Finding examineHotkey(Assist::Features features);
[[nodiscard]] Finding examineTray();
[[nodiscard]] Finding examineNotifications();

/// The version of one of the desktop portal's interfaces; 0 without it.
[[nodiscard]] uint portalVersion(const QString& interface);
/// Whether the portal watches for a hotkey: since 1.20, where a program can tell its name.
[[nodiscard]] bool portalWatchesForHotkeys();

} // namespace Doctor
