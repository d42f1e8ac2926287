// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/screen_canvas.h"

#include <cstddef>
#include <cstring>
#include <utility>

#include "platform/pictures/picture_source.h"

namespace lumivastor::wayland {
namespace {

void copyRect(const imaging::BgraPremultipliedBuffer& source, const PixelRect& part, int dx, int dy,
              imaging::BgraPremultipliedBuffer& target) {
    const std::size_t bytes = static_cast<std::size_t>(part.width) * 4;
    for (int y = part.y; y < part.maxY(); ++y) {
        std::memcpy(target.pixel(part.x, y), source.pixel(part.x + dx, y + dy), bytes);
    }
}

}  // namespace

void ScreenCanvas::show(const pipewire::ScreenPicture& picture) {
    {
        const std::lock_guard hold(lock_);
        const PixelSize size = picture.size();
        const PixelRect all{0, 0, size.width, size.height};
        const bool isNewSize = size != state_.size;
        if (isNewSize) {
            content_ = imaging::BgraPremultipliedBuffer(size.width, size.height);
            damage_.clear();
        }
        if (isNewSize || !picture.damage) {
            pipewire::copyOpaque(picture, all, content_);
            damage_.add(all);
        } else {
            for (const PixelRect& rect : *picture.damage) {
                const PixelRect part = intersection(rect, all);
                if (part.isEmpty()) continue;
                pipewire::copyOpaque(picture, part, content_);
                damage_.add(part);
            }
        }
        state_.size = size;
        state_.shownAt = picture.hostSeconds;
    }
    const std::lock_guard hold(wakeLock_);
    if (wake_) wake_();
}

void ScreenCanvas::setStreaming(bool isStreaming) {
    {
        const std::lock_guard hold(lock_);
        state_.isStreaming = isStreaming;
    }
    const std::lock_guard hold(wakeLock_);
    if (wake_) wake_();
}

void ScreenCanvas::onChange(std::function<void()> wake) {
    const std::lock_guard hold(wakeLock_);
    wake_ = std::move(wake);
}

ScreenCanvas::State ScreenCanvas::take(imaging::DamageArea& damage) {
    const std::lock_guard hold(lock_);
    damage.add(damage_);
    damage_.clear();
    takenSize_ = state_.size;
    return state_;
}

ScreenCanvas::State ScreenCanvas::state() const {
    const std::lock_guard hold(lock_);
    return state_;
}

std::optional<double> ScreenCanvas::copy(imaging::DamageArea& parts, int dx, int dy,
                                         imaging::BgraPremultipliedBuffer& target) const {
    const std::lock_guard hold(lock_);
    if (state_.size != takenSize_) return std::nullopt;
    const PixelRect content{-dx, -dy, content_.width(), content_.height()};
    const auto copyPart = [&](const PixelRect& part) {
        const PixelRect shown = intersection(part, content);
        if (shown != part) platform::fillBlack(target, part);
        if (!shown.isEmpty()) copyRect(content_, shown, dx, dy, target);
    };
    for (const PixelRect& rect : damage_.rects()) {
        parts.add(intersection(rect.movedBy(-dx, -dy), {0, 0, target.width(), target.height()}));
    }
    for (const PixelRect& part : parts.rects()) copyPart(part);
    return state_.shownAt;
}

imaging::BgraPremultipliedBuffer ScreenCanvas::snapshot() const {
    const std::lock_guard hold(lock_);
    return content_.copy();
}

}  // namespace lumivastor::wayland
