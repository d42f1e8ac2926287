// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/capture_buffer_pool.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

#include "base/precondition.h"

namespace lumivastor::platform {

struct CaptureBufferPool::Slots {
    struct Slot {
        imaging::BgraPremultipliedBuffer buffer;
        imaging::DamageArea stale;  // used by the store's thread only
        bool used = false;          // guarded by lock
    };
    std::mutex lock;
    std::vector<Slot> all;  // never changes its size
};

namespace {

void fillBlack(imaging::BgraPremultipliedBuffer& buffer) {
    for (int y = 0; y < buffer.height(); ++y) {
        for (int x = 0; x < buffer.width(); ++x) buffer.pixel(x, y)[3] = 255;
    }
}

void copyRect(const imaging::BgraPremultipliedBuffer& from, imaging::BgraPremultipliedBuffer& to,
              const PixelRect& rect) {
    for (int y = rect.y; y < rect.maxY(); ++y) {
        std::memcpy(to.pixel(rect.x, y), from.pixel(rect.x, y), static_cast<std::size_t>(rect.width) * 4);
    }
}

// Comparing stops at the first row that differs, so it costs little unless there is something to be spared.
bool areEqual(const imaging::BgraPremultipliedBuffer& one, const imaging::BgraPremultipliedBuffer& other,
              const PixelRect& rect) {
    for (int y = rect.y; y < rect.maxY(); ++y) {
        if (std::memcmp(one.pixel(rect.x, y), other.pixel(rect.x, y), static_cast<std::size_t>(rect.width) * 4) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

// One more than may be out: the last picture stays here for being delivered again.
CaptureBufferPool::CaptureBufferPool(PixelSize size, int depth)
    : size_(size), depth_(std::max(1, depth)), slots_(std::make_shared<Slots>()) {
    slots_->all.resize(static_cast<std::size_t>(depth_) + 1);
}

CaptureBufferPool::~CaptureBufferPool() = default;

bool CaptureBufferPool::canTake() const {
    const std::lock_guard hold(slots_->lock);
    const auto used = std::count_if(slots_->all.begin(), slots_->all.end(), [](const auto& slot) { return slot.used; });
    // Of a picture to which only we hold a reference. The holder of a weak one may lock it a moment later: then one
    // more than `depth` is out, for which there is a buffer.
    const int ours = last_ && last_.use_count() == 1 ? 1 : 0;
    return used - ours < depth_;
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> CaptureBufferPool::take(
    const imaging::DamageArea& damage, const std::function<bool(imaging::BgraPremultipliedBuffer&)>& paint) {
    Slots::Slot* slot = nullptr;
    {
        const std::lock_guard hold(slots_->lock);
        const auto free =
            std::find_if(slots_->all.begin(), slots_->all.end(), [](const auto& one) { return !one.used; });
        precondition(free != slots_->all.end(), "a picture is taken although none is free");
        slot = &*free;
        slot->used = true;
    }
    if (slot->buffer.isEmpty()) {
        // Made when first needed: a still screen needs only two.
        slot->buffer = imaging::BgraPremultipliedBuffer(size_.width, size_.height);
        fillBlack(slot->buffer);
        slot->stale.add({0, 0, size_.width, size_.height});
    }
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture(&slot->buffer, [slots = slots_, slot](const auto*) {
        const std::lock_guard hold(slots->lock);
        slot->used = false;
    });
    if (last_) {
        for (const PixelRect& rect : slot->stale.rects()) {
            const bool isRepainted = std::any_of(damage.rects().begin(), damage.rects().end(),
                                                 [&](const PixelRect& one) { return one.contains(rect); });
            if (!isRepainted) copyRect(*last_, slot->buffer, rect);
        }
    }
    slot->stale.clear();
    if (!paint(slot->buffer)) {
        slot->stale.add({0, 0, size_.width, size_.height});
        return nullptr;
    }
    const auto isSame = [&](const PixelRect& rect) { return areEqual(slot->buffer, *last_, rect); };
    if (last_ && std::all_of(damage.rects().begin(), damage.rects().end(), isSame)) return last_;
    for (auto& other : slots_->all) {
        if (&other != slot && !other.buffer.isEmpty()) other.stale.add(damage);
    }
    last_ = picture;
    return picture;
}

}  // namespace lumivastor::platform
