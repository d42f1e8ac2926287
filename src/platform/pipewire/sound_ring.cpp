// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/sound_ring.h"

namespace lumivastor::pipewire {

bool SoundRing::put(std::int64_t frame, double hostSeconds, std::span<const float> values) {
    const std::size_t place = putStretches_.load(std::memory_order_relaxed);
    if (place - takenStretches_.load(std::memory_order_acquire) >= stretches_.size()) return false;
    const std::size_t used = putValues_ - takenValues_.load(std::memory_order_acquire);
    if (values.size() > values_.size() - used) return false;
    for (const float value : values) values_[putValues_++ % values_.size()] = value;
    stretches_[place % stretches_.size()] = {frame, hostSeconds, values.size()};
    putStretches_.store(place + 1, std::memory_order_release);
    return true;
}

void SoundRing::takeAll(const Take& take) {
    const std::size_t end = putStretches_.load(std::memory_order_acquire);
    std::size_t value = takenValues_.load(std::memory_order_relaxed);
    for (std::size_t place = takenStretches_.load(std::memory_order_relaxed); place < end; ++place) {
        const Stretch stretch = stretches_[place % stretches_.size()];
        taken_.resize(stretch.count);
        for (float& one : taken_) one = values_[value++ % values_.size()];
        takenValues_.store(value, std::memory_order_release);
        takenStretches_.store(place + 1, std::memory_order_release);
        take(stretch.frame, stretch.hostSeconds, taken_);
    }
}

}  // namespace lumivastor::pipewire
