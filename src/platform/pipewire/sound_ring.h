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

/// Carries stretches of sound from a realtime thread to another one, without locks and without memory being asked for.
/// One thread puts, one takes. When it is full, what comes is dropped; the count of frames then tells of it.
class SoundRing {
  public:
    /// Room for `values` values.
    explicit SoundRing(std::size_t values) : values_(values) {}

    /// False when there was no room. The putting thread.
    bool put(std::int64_t frame, double hostSeconds, std::span<const float> values);

    using Take = std::function<void(std::int64_t frame, double hostSeconds, std::span<const float> values)>;
    /// Hands over everything that is there, oldest first. The taking thread.
    void takeAll(const Take& take);

  private:
    struct Stretch {
        std::int64_t frame = 0;
        double hostSeconds = 0;
        std::size_t count = 0;
    };

    std::vector<float> values_;
    std::array<Stretch, 512> stretches_;
    // How many were put and taken since the beginning. Each is written by one thread only.
    std::atomic<std::size_t> putStretches_ = 0;
    std::atomic<std::size_t> takenStretches_ = 0;
    std::size_t putValues_ = 0;  // the putting thread's
    std::atomic<std::size_t> takenValues_ = 0;
    std::vector<float> taken_;  // the taking thread's
};

}  // namespace lumivastor::pipewire
