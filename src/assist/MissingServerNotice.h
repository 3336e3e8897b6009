#pragma once

#include <QString>

namespace Assist {

/// Tells in a window that the program doesn't know its server, and where to write it down, and
/// returns when the person has read it. For a start from a menu, where nobody sees the log. The
/// button for the file makes it from the example that was installed, readable by its owner alone,
/// and opens it. A button whose file isn't there is left out. Runs an event loop; needs the
/// application object.
///
/// `documents` is the directory of the installed guide and the example.
void showMissingServerNotice(const QString& documents);

/// Where the installed documents lie: beside the program by the paths of the installation.
[[nodiscard]] QString installedDocuments();

} // namespace Assist
