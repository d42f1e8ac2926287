// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/picture_change.h"

#include <cstddef>
#include <utility>

#include "base/stable_hash.h"

namespace lumivastor::capture {

namespace {

// Every eighth row: a millisecond for 1920 x 1080, and smaller than any face or clock in the picture.
constexpr int kRowStep = 8;

}  // namespace

bool PictureChange::isNew(const imaging::BgraPremultipliedBuffer& picture, double hostSeconds) {
    // A time before the last one is that of a device that began again.
    if (lastTime_ && hostSeconds >= *lastTime_ && hostSeconds - *lastTime_ < kInterval) return false;
    StableHash hash;
    for (int y = 0; y < picture.height(); y += kRowStep) {
        hash.add(picture.row(y), static_cast<std::size_t>(picture.width()) * 4);
    }
    const bool isFirst = !std::exchange(lastTime_, hostSeconds).has_value();
    return std::exchange(lastHash_, hash.value()) != hash.value() || isFirst;
}

}  // namespace lumivastor::capture
