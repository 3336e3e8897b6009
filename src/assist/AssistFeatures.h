#pragma once

#include <QFlags>
#include <QString>
#include <QStringList>

// What the program does beyond its ordinary behaviour, each part wanted by name in the variable
// TARQ_ASSIST: "all", or names parted by commas. Without the variable nothing here does anything.
namespace Assist {

enum class Feature {
    Repeat = 1 << 0, ///< Super+Space can be held on X11 while keys repeat
    Start = 1 << 1, ///< a start that can't go on, or that finds no window, says so on the screen
    Wayland = 1 << 2, ///< on Wayland the text arrives, and the bubble leaves the keyboard alone
    Hold = 1 << 3, ///< Super+Space can be held on Wayland, where the desktop watches for it
};
Q_DECLARE_FLAGS(Features, Feature)
Q_DECLARE_OPERATORS_FOR_FLAGS(Features)

/// The features that a value of the variable names, in any case and with blanks around them. The
/// names that are none are returned in `unknown`, unless that is null.
[[nodiscard]] Features parseFeatures(const QString& value, QStringList* unknown = nullptr);

/// The features that the environment names. A name that is none is one warning in the log.
[[nodiscard]] Features wantedFeatures();

} // namespace Assist
