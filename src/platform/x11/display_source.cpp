// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/display_source.h"

#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <algorithm>

#include "base/formatted.h"
#include "base/recorder_error.h"
#include "platform/pictures/capture_area.h"
#include "platform/x11/monitors.h"

namespace lumivastor::x11 {

DisplaySource::DisplaySource(const XConnection& connection, const platform::DisplayFilter& filter,
                             const platform::StreamConfiguration& configuration, const ScreenScales& environment)
    : connection_(connection),
      environment_(environment),
      sourceRect_(configuration.sourceRect),
      size_{configuration.width, configuration.height},
      display_(filter.display),
      damage_(connection, connection.root()),
      reader_(connection, configuration.width, configuration.height),
      excluded_(connection, filter.excludedApplications) {
    const MonitorList monitors = readMonitors(connection_, environment_);
    const auto found = std::find_if(monitors.displays.begin(), monitors.displays.end(),
                                    [&](const platform::Display& one) { return one.id == display_.id; });
    if (found == monitors.displays.end()) throw RecorderError("Der gewählte Bildschirm ist nicht mehr da.");
    display_ = *found;
    const Rect frame = display_.pixelFrame();
    origin_ = Point{frame.x, frame.y};
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE |
                                 (excluded_.isAsked() ? XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY : 0);
    xcb_change_window_attributes(connection_, connection_.root(), XCB_CW_EVENT_MASK, &events);
    if (connection_.randrEvent() != 0) {
        xcb_randr_select_input(connection_, connection_.root(),
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
    }
    layOut();
}

void DisplaySource::layOut() {
    area_ = platform::captureArea(display_, sourceRect_, size_);
    visible_ = intersection(area_, readRootBounds(connection_)).movedBy(-area_.x, -area_.y);
    if (visible_.isEmpty()) visible_ = {};
}

void DisplaySource::update(imaging::DamageArea& damage) {
    readEvents();
    imaging::DamageArea painted;
    if (damage_.isNotified()) {
        for (const PixelRect& rect : damage_.collect()) painted.add(intersection(rect, area_));
        // The server has reported by now any window whose appearance caused some of this damage.
        readEvents();
    }
    excluded_.update(area_, painted);
    for (const PixelRect& rect : painted.rects()) {
        damage.add(intersection(rect.movedBy(-area_.x, -area_.y), visible_));
    }
    if (layoutChanged_) followDisplay(damage);
}

void DisplaySource::readEvents() {
    while (const XEvent event = connection_.nextEvent()) {
        const int type = event.type();
        if (type == connection_.damageEvent() + XCB_DAMAGE_NOTIFY) {
            const auto damage = event.as<xcb_damage_notify_event_t>().damage;
            if (damage == damage_.id()) {
                damage_.notify();
            } else {
                excluded_.notifyDamage(damage);
            }
        } else if (tellsLayout(event)) {
            layoutChanged_ = true;
        } else {
            excluded_.handleEvent(event);
        }
    }
}

bool DisplaySource::tellsLayout(const XEvent& event) const {
    const int type = event.type();
    if (type == XCB_CONFIGURE_NOTIFY) return event.as<xcb_configure_notify_event_t>().window == connection_.root();
    const int randr = connection_.randrEvent();
    return randr != 0 && (type == randr + XCB_RANDR_SCREEN_CHANGE_NOTIFY || type == randr + XCB_RANDR_NOTIFY);
}

void DisplaySource::followDisplay(imaging::DamageArea& damage) {
    layoutChanged_ = false;
    const MonitorList monitors = readMonitors(connection_, environment_);
    if (connection_.isBroken()) return;
    const auto found = std::find_if(monitors.displays.begin(), monitors.displays.end(),
                                    [&](const platform::Display& one) { return one.id == display_.id; });
    if (found == monitors.displays.end()) {
        ended_ = "Der aufgenommene Bildschirm wurde abgeschaltet oder abgezogen.";
        return;
    }
    const Rect before = display_.pixelFrame();
    const Rect now = found->pixelFrame();
    // The scale stays: it only determines the recording's size in points, which is fixed.
    display_.frame = {now.x, now.y, now.width / display_.scale, now.height / display_.scale};
    const PixelRect oldArea = area_;
    const PixelRect oldVisible = visible_;
    layOut();
    if (area_ != oldArea || visible_ != oldVisible) damage.add({0, 0, size_.width, size_.height});
    if (now.x != before.x || now.y != before.y) origin_ = Point{now.x, now.y};
    if (now.width != before.width || now.height != before.height) {
        notice_ =
            formatted("Der aufgenommene Bildschirm ist jetzt %.0f × %.0f Pixel groß; die Aufnahme behält ihre Größe.",
                      now.width, now.height);
    }
}

bool DisplaySource::paint(imaging::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) {
    std::vector<XImageReader::Piece> pieces;
    for (const PixelRect& rect : damage.rects()) {
        if (!visible_.contains(rect)) platform::fillBlack(picture, rect);
        const PixelRect seen = intersection(rect, visible_);
        if (!seen.isEmpty()) pieces.push_back({seen.movedBy(area_.x, area_.y), seen.x, seen.y});
    }
    if (!excluded_.isAsked()) return reader_.read(connection_.root(), pieces, picture);
    return paintWithoutExcluded(pieces, picture);
}

bool DisplaySource::paintWithoutExcluded(std::span<const XImageReader::Piece> pieces,
                                         imaging::BgraPremultipliedBuffer& picture) {
    if (!excluded_.isAnyIn(area_)) {
        if (!reader_.read(connection_.root(), pieces, picture)) return false;
        // The pixels arrived after the events of everything that they show. So they are right unless an excluded window
        // may just have appeared, and no server grab was needed, which would have stopped other programs.
        readEvents();
        if (!excluded_.hasChanged()) return true;
    }
    const XServerGrab grab(connection_);
    connection_.waitForServer();
    readEvents();
    excluded_.refresh(area_);
    return excluded_.readWithout(reader_, pieces, picture);
}

}  // namespace lumivastor::x11
