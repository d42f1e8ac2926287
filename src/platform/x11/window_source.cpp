// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/window_source.h"

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/xcb.h>

#include <algorithm>

#include "base/recorder_error.h"
#include "platform/x11/window_shadow.h"
#include "platform/x11/x_properties.h"

namespace lumivastor::x11 {

WindowSource::WindowSource(const XConnection& connection, std::uint32_t window,
                           const platform::StreamConfiguration& configuration)
    : connection_(connection),
      window_(window),
      size_{configuration.width, configuration.height},
      damage_(connection, window),
      reader_(connection, configuration.width, configuration.height) {
    if (!connection.hasComposite()) {
        throw RecorderError(
            "Dem Bildschirmserver fehlt die Erweiterung Composite, ohne die sich kein einzelnes Fenster aufnehmen "
            "lässt.");
    }
    if (!xReply(connection, xcb_get_geometry_reply, xcb_get_geometry(connection, window))) {
        throw RecorderError("Das gewählte Fenster ist nicht mehr da.");
    }
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, window_, XCB_CW_EVENT_MASK, &events);
    xcb_composite_redirect_window(connection_, window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    watchAncestors();
}

WindowSource::~WindowSource() {
    dropPixmap();
    xcb_composite_unredirect_window(connection_, window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

// Some managers hide a window by hiding the frame around it.
void WindowSource::watchAncestors() {
    const std::uint32_t none = XCB_EVENT_MASK_NO_EVENT;
    for (const std::uint32_t one : ancestors_) {
        xcb_change_window_attributes(connection_, one, XCB_CW_EVENT_MASK, &none);
    }
    ancestors_.clear();
    std::uint32_t window = window_;
    for (int depth = 0; depth < 16; ++depth) {
        const auto reply = xReply(connection_, xcb_query_tree_reply, xcb_query_tree(connection_, window));
        if (!reply || reply->parent == XCB_NONE || reply->parent == connection_.root()) return;
        window = reply->parent;
        ancestors_.push_back(window);
        const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &events);
    }
}

void WindowSource::readEvents() {
    while (const XEvent event = connection_.nextEvent()) {
        if (event.type() == connection_.damageEvent() + XCB_DAMAGE_NOTIFY) {
            damage_.notify();
        } else {
            handleEvent(event);
        }
    }
}

void WindowSource::handleEvent(const XEvent& event) {
    switch (event.type()) {
        case XCB_DESTROY_NOTIFY:
            if (event.as<xcb_destroy_notify_event_t>().window == window_) {
                ended_ = "Das aufgenommene Fenster wurde geschlossen.";
            }
            break;
        case XCB_REPARENT_NOTIFY:
            if (event.as<xcb_reparent_notify_event_t>().window == window_) watchAncestors();
            placeChanged_ = true;
            break;
        case XCB_CONFIGURE_NOTIFY: {
            const auto& configure = event.as<xcb_configure_notify_event_t>();
            // Moving keeps the window's pixmap.
            const bool isResized = configure.width != inside_.width || configure.height != inside_.height ||
                                   configure.border_width != inside_.x;
            if (configure.window == window_ && isResized) placeChanged_ = true;
            break;
        }
        case XCB_PROPERTY_NOTIFY:
            if (event.as<xcb_property_notify_event_t>().atom == connection_.atom(XAtom::gtkFrameExtents)) {
                placeChanged_ = true;
            }
            break;
        case XCB_MAP_NOTIFY:
        case XCB_UNMAP_NOTIFY:
            placeChanged_ = true;
            break;
        default:
            break;
    }
}

void WindowSource::update(imaging::DamageArea& damage) {
    readEvents();
    if (ended_) return;
    if (placeChanged_) {
        placeChanged_ = false;
        takePixmap();
        if (pixmap_ != 0) damage.add({0, 0, size_.width, size_.height});
    }
    if (!damage_.isNotified()) return;
    for (const PixelRect& rect : damage_.collect()) {
        const PixelRect painted = intersection(rect.movedBy(inside_.x, inside_.y), content_);
        if (!painted.isEmpty()) damage.add(painted.movedBy(-content_.x, -content_.y));
    }
}

// The window gets a new pixmap after each change of size and each time it is mapped. Naming the pixmap fails while the
// window is unmapped; that is how this is detected.
void WindowSource::takePixmap() {
    dropPixmap();
    const std::uint32_t named = connection_.makeId();
    const auto naming = xcb_composite_name_window_pixmap_checked(connection_, window_, named);
    const auto geometryCookie = xcb_get_geometry(connection_, window_);
    const XPropertyRequest shadowRequest(connection_, window_, connection_.atom(XAtom::gtkFrameExtents));
    const XOwned<xcb_generic_error_t> error(xcb_request_check(connection_, naming));
    const auto geometry = xReply(connection_, xcb_get_geometry_reply, geometryCookie);
    const auto shadow = shadowRequest.fetch().numbers();
    if (error || !geometry || connection_.isBroken()) return;
    pixmap_ = named;
    inside_ = {geometry->border_width, geometry->border_width, geometry->width, geometry->height};
    content_ = withoutShadow(inside_, shadow);
    content_.width = std::min(content_.width, size_.width);
    content_.height = std::min(content_.height, size_.height);
}

void WindowSource::dropPixmap() {
    if (pixmap_ != 0) xcb_free_pixmap(connection_, std::exchange(pixmap_, 0));
}

bool WindowSource::paint(imaging::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) {
    const PixelRect filled{0, 0, content_.width, content_.height};
    std::vector<XImageReader::Piece> pieces;
    for (const PixelRect& rect : damage.rects()) {
        if (!filled.contains(rect)) platform::fillBlack(picture, rect);
        const PixelRect seen = intersection(rect, filled);
        if (!seen.isEmpty()) pieces.push_back({seen.movedBy(content_.x, content_.y), seen.x, seen.y});
    }
    return reader_.read(pixmap_, pieces, picture);
}

}  // namespace lumivastor::x11
