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

void CanvasSource::update(imaging::DamageArea& damage) {
    const PixelSize before = state_.size;
    imaging::DamageArea changed;
    state_ = canvas_.take(changed);
    hasStreamed_ = hasStreamed_ || state_.isStreaming;
    const PixelRect picture{0, 0, options_.size.width, options_.size.height};
    if (state_.size != before) {
        damage.add(picture);
        hasUntaken_ = true;
        if (before != PixelSize{} && options_.tellsSize) {
            notice_ =
                formatted("Der aufgenommene Bildschirm ist jetzt %d × %d Pixel groß; die Aufnahme behält ihre Größe.",
                          state_.size.width, state_.size.height);
        }
        return;
    }
    for (const PixelRect& rect : changed.rects()) {
        const PixelRect seen = intersection(rect.movedBy(-options_.x, -options_.y), picture);
        if (seen.isEmpty()) continue;
        damage.add(seen);
        hasUntaken_ = true;
    }
}

// What came just before a rest or the end is still shown. Before the first stream, content is that of an earlier one.
bool CanvasSource::isHidden() const {
    if (state_.size == PixelSize{}) return true;
    return !state_.isStreaming && !(hasStreamed_ && hasUntaken_);
}

std::optional<std::string> CanvasSource::takeNotice() {
    // Some desktops send nothing before something changes.
    if (!hasToldOfWaiting_ && state_.size == PixelSize{} && hostClockSeconds() - begun_ > options_.patience) {
        hasToldOfWaiting_ = true;
        return "Der Bildschirm steht still; die Aufnahme beginnt mit der ersten Änderung.";
    }
    if (auto notice = restNotice()) return notice;
    return std::exchange(notice_, std::nullopt);
}

std::optional<std::string> CanvasSource::restNotice() {
    if (state_.size == PixelSize{}) return std::nullopt;
    if (state_.isStreaming) {
        restsSince_.reset();
        if (std::exchange(hasToldOfRest_, false)) return "Der Desktop schickt wieder Bilder.";
        return std::nullopt;
    }
    const double now = hostClockSeconds();
    if (!restsSince_) restsSince_ = now;
    if (hasToldOfRest_ || now - *restsSince_ <= options_.restPatience) return std::nullopt;
    hasToldOfRest_ = true;
    return "Der Desktop schickt keine Bilder mehr; bis wieder welche kommen, zeigt die Aufnahme das letzte.";
}

bool CanvasSource::paint(imaging::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) {
    // Newer content may have come since `update`; then this is its time.
    const auto shownAt = canvas_.copy(damage, options_.x, options_.y, picture);
    if (shownAt) {
        state_.shownAt = *shownAt;
        hasUntaken_ = false;
    }
    return shownAt.has_value();
}

}  // namespace lumivastor::wayland
