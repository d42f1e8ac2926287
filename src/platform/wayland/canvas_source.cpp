// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/canvas_source.h"

#include <utility>

#include "base/formatted.h"
#include "base/host_clock.h"

namespace lumivastor::wayland {

CanvasSource::CanvasSource(ScreenCanvas& canvas, const Options& options,
                           std::function<std::optional<std::string>()> ended)
    : canvas_(canvas), options_(options), ended_(std::move(ended)), begun_(hostClockSeconds()) {}

CanvasSource::~CanvasSource() {
    canvas_.onChange(nullptr);
}

void CanvasSource::update(platform::DamageArea& damage) {
    const PixelSize before = state_.size;
    platform::DamageArea changed;
    state_ = canvas_.take(changed);
    const platform::PixelRect picture{0, 0, options_.size.width, options_.size.height};
    if (state_.size != before) {
        damage.add(picture);
        if (before != PixelSize{}) {
            notice_ =
                formatted("Der aufgenommene Bildschirm ist jetzt %d × %d Pixel groß; die Aufnahme behält ihre Größe.",
                          state_.size.width, state_.size.height);
        }
        return;
    }
    for (const platform::PixelRect& rect : changed.rects()) {
        const platform::PixelRect seen = platform::intersection(rect.movedBy(-options_.x, -options_.y), picture);
        if (!seen.isEmpty()) damage.add(seen);
    }
}

std::optional<std::string> CanvasSource::takeNotice() {
    // Some desktops send nothing before something changes.
    if (!hasToldOfWaiting_ && isHidden() && hostClockSeconds() - begun_ > options_.patience) {
        hasToldOfWaiting_ = true;
        return "Der Bildschirm steht still; die Aufnahme beginnt mit der ersten Änderung.";
    }
    return std::exchange(notice_, std::nullopt);
}

bool CanvasSource::paint(const platform::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) {
    // Newer content may have come since `update`; then this is its time.
    state_.shownAt = canvas_.copy(damage.rects(), options_.x, options_.y, picture);
    return true;
}

}  // namespace lumivastor::wayland
