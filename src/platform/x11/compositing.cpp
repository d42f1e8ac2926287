// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/compositing.h"

#include <xcb/xcb.h>

#include "base/recorder_error.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

bool hasCompositingManager(const std::string& displayName) {
    try {
        const BrokenPipeGuard guard;
        const XConnection connection(displayName);
        const auto owner = xReply(connection, xcb_get_selection_owner_reply,
                                  xcb_get_selection_owner(connection, connection.atom(XAtom::compositingManager)));
        return owner && owner->owner != XCB_NONE;
    } catch (const RecorderError&) {
        return false;
    }
}

}  // namespace lumivastor::x11
