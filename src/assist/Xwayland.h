#pragma once

namespace Assist {

/// Whether the X server that DISPLAY names lets this process connect: in a Wayland session that is
/// XWayland. The variable alone tells little, since the server may have gone or refuse us. Blocks
/// for as long as the server takes to answer.
[[nodiscard]] bool xServerAnswers();

} // namespace Assist
