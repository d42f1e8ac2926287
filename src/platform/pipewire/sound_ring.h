// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace lumivastor::pipewire {

/// Passes sound from a realtime thread to another thread without locks or allocations. One thread puts, one takes. A
/// full ring drops new sound; the gap shows in the frame numbers.
class SoundRing {
  public:
    /// Room for `values` values.
    explicit SoundRing(std::size_t values) : values_(values) {}

    /// Returns false when there is no room. Only the putting thread.
    bool put(std::int64_t frame, double hostSeconds, std::span<const float> values);

    using Take = std::function<void(std::int64_t frame, double hostSeconds, std::span<const float> values)>;
    /// Passes all stored sound to `take`, oldest first. Only the taking thread.
    void takeAll(const Take& take);

  private:
    struct Stretch {
        std::int64_t frame = 0;
        double hostSeconds = 0;
        std::size_t count = 0;
    };

    std::vector<float> values_;
    std::array<Stretch, 512> stretches_;
    // Totals of what was put and taken. Each is written by one thread only.
    std::atomic<std::size_t> putStretches_ = 0;
    std::atomic<std::size_t> takenStretches_ = 0;
    std::size_t putValues_ = 0;  // the putting thread's
    std::atomic<std::size_t> takenValues_ = 0;
    std::vector<float> taken_;  // the taking thread's
};

}  // namespace lumivastor::pipewire
