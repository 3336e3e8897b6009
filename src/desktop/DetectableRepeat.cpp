#include "desktop/DetectableRepeat.h"

#include "desktop/XcbPointer.h"

#include <QDebug>

// The header names a member "explicit".
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

void askForDetectableRepeat(xcb_connection_t* connection)
{
    const XcbPointer<xcb_xkb_use_extension_reply_t> extension(xcb_xkb_use_extension_reply(
        connection, xcb_xkb_use_extension(connection, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION),
        nullptr));
    if (extension == nullptr || extension->supported == 0) {
        qWarning().noquote() << "X server has no XKB extension, key repeat stays as it is";
        return;
    }
    constexpr uint32_t kFlag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    xcb_xkb_per_client_flags_unchecked(connection, XCB_XKB_ID_USE_CORE_KBD, kFlag, kFlag, 0, 0, 0);
}
