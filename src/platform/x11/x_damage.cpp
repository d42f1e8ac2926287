// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/x_damage.h"

#include <xcb/damage.h>
#include <xcb/xfixes.h>

namespace lumivastor::x11 {

XDamage::XDamage(const XConnection& connection, std::uint32_t window)
    : connection_(connection), damage_(connection.makeId()), region_(connection.makeId()) {
    xcb_damage_create(connection_, damage_, window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    xcb_xfixes_create_region(connection_, region_, 0, nullptr);
}

// A window's damage object is destroyed with the window; the resulting error is ignored.
XDamage::~XDamage() {
    xcb_damage_destroy(connection_, damage_);
    xcb_xfixes_destroy_region(connection_, region_);
}

std::vector<PixelRect> XDamage::collect() {
    isNotified_ = false;
    xcb_damage_subtract(connection_, damage_, XCB_NONE, region_);
    const auto reply =
        xReply(connection_, xcb_xfixes_fetch_region_reply, xcb_xfixes_fetch_region(connection_, region_));
    std::vector<PixelRect> rects;
    if (!reply) return rects;
    const auto* first = xcb_xfixes_fetch_region_rectangles(reply.get());
    const int count = xcb_xfixes_fetch_region_rectangles_length(reply.get());
    for (int i = 0; i < count; ++i) {
        rects.push_back({first[i].x, first[i].y, first[i].width, first[i].height});
    }
    return rects;
}

}  // namespace lumivastor::x11
