// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/monitors.h"

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <string>

#include "platform/x11/window_shadow.h"
#include "platform/x11/x_properties.h"

namespace lumivastor::x11 {
namespace {

// Enough for any resource database in use; the rest of a longer one is ignored.
constexpr std::uint32_t kResourceBytes = 256 * 1024;

std::string atomName(const XConnection& connection, std::uint32_t atom) {
    const auto reply = xReply(connection, xcb_get_atom_name_reply, xcb_get_atom_name(connection, atom));
    if (!reply) return {};
    return utf8Text(
        {xcb_get_atom_name_name(reply.get()), static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))});
}

platform::Display displayFrom(std::uint32_t id, std::string name, const PixelRect& pixels, double scale) {
    const platform::PointSpace space{{static_cast<double>(pixels.x), static_cast<double>(pixels.y)}, scale};
    return {id, std::move(name),
            space.rectFromPixels({static_cast<double>(pixels.x), static_cast<double>(pixels.y),
                                  static_cast<double>(pixels.width), static_cast<double>(pixels.height)}),
            scale};
}

}  // namespace

PixelRect readRootBounds(const XConnection& connection) {
    const auto reply = xReply(connection, xcb_get_geometry_reply, xcb_get_geometry(connection, connection.root()));
    return reply ? PixelRect{0, 0, reply->width, reply->height} : PixelRect{};
}

MonitorList readMonitors(const XConnection& connection, const ScreenScales& environment) {
    ScreenScales scales = environment;
    scales.dotsPerInch =
        parseDotsPerInch(readProperty(connection, connection.root(), XCB_ATOM_RESOURCE_MANAGER, kResourceBytes).text());

    MonitorList list;
    if (connection.hasMonitors()) {
        const auto reply =
            xReply(connection, xcb_randr_get_monitors_reply, xcb_randr_get_monitors(connection, connection.root(), 1));
        if (reply) {
            for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem > 0;
                 xcb_randr_monitor_info_next(&it)) {
                const PixelRect pixels{it.data->x, it.data->y, it.data->width, it.data->height};
                if (pixels.isEmpty()) continue;
                std::string name = atomName(connection, it.data->name);
                const double scale = scales.scaleOf(name, list.displays.size());
                list.displays.push_back(displayFrom(it.data->name, std::move(name), pixels, scale));
                if (it.data->primary != 0) list.mainID = it.data->name;
            }
        }
    }
    if (list.displays.empty()) {
        const PixelRect root = readRootBounds(connection);
        if (!root.isEmpty()) {
            list.displays.push_back(displayFrom(connection.root(), "screen", root, scales.scaleOf("screen", 0)));
        }
    }
    if (list.mainID == 0 && !list.displays.empty()) list.mainID = list.displays.front().id;
    return list;
}

const platform::Display* displayOf(const MonitorList& monitors, const PixelRect& pixels) {
    const Rect rect{static_cast<double>(pixels.x), static_cast<double>(pixels.y), static_cast<double>(pixels.width),
                    static_cast<double>(pixels.height)};
    const platform::Display* best = nullptr;
    double maximum = 0;
    for (const platform::Display& display : monitors.displays) {
        const Rect shared = intersection(display.pixelFrame(), rect);
        const bool isMain = best == nullptr && display.id == monitors.mainID;
        if (shared.width * shared.height > maximum || (isMain && maximum == 0)) {
            best = &display;
            maximum = shared.width * shared.height;
        }
    }
    return best;
}

std::optional<PixelRect> contentPixels(const XConnection& connection, std::uint32_t window) {
    const auto geometryCookie = xcb_get_geometry(connection, window);
    const auto placeCookie = xcb_translate_coordinates(connection, window, connection.root(), 0, 0);
    const XPropertyRequest extents(connection, window, connection.atom(XAtom::gtkFrameExtents));
    const auto geometry = xReply(connection, xcb_get_geometry_reply, geometryCookie);
    const auto place = xReply(connection, xcb_translate_coordinates_reply, placeCookie);
    const auto shadow = extents.fetch().numbers();
    if (!geometry || !place) return std::nullopt;
    return withoutShadow({place->dst_x, place->dst_y, geometry->width, geometry->height}, shadow);
}

}  // namespace lumivastor::x11
