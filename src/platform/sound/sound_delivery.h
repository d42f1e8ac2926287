// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "base/serial_queue.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// Carries live sound to a handler on a queue. Bounded: when the handler does not keep up, what waits longest is
/// dropped. Any thread.
class SoundDelivery {
  public:
    /// Seconds of sound that may wait. Writing a movie stalls for less, a disk that is slower than that stays so.
    static constexpr double kMaximumWaiting = 2.0;

    /// `dropping` is told, on the thread that pushes, when sound begins to be dropped; again only after the handler
    /// has caught up. The queue outlives the delivery.
    SoundDelivery(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler, std::function<void()> dropping);
    ~SoundDelivery();
    SoundDelivery(const SoundDelivery&) = delete;
    SoundDelivery& operator=(const SoundDelivery&) = delete;

    /// Returns at once. Whoever drains the queue afterwards has this buffer handled.
    void push(const SoundBuffer& sound);

  private:
    struct State;

    const std::shared_ptr<State> state_;  // shared with the work that waits in the queue
    SerialQueue& queue_;
    const std::function<void()> dropping_;
};

}  // namespace lumivastor::platform
