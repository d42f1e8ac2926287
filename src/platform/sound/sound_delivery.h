// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "base/serial_queue.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// Passes live sound to a handler on a queue. Bounded: when the handler does not keep up, the oldest waiting sound is
/// dropped. Any thread.
class SoundDelivery {
  public:
    /// Seconds of sound that may wait. Writing a movie stalls for less than that; a disk that stalls longer does not
    /// recover.
    static constexpr double kMaximumWaiting = 2.0;

    /// `dropping` is called on the pushing thread when sound begins to be dropped; again only after the handler has
    /// caught up. The queue outlives the delivery.
    SoundDelivery(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler, std::function<void()> dropping);
    ~SoundDelivery();
    SoundDelivery(const SoundDelivery&) = delete;
    SoundDelivery& operator=(const SoundDelivery&) = delete;

    /// Returns at once. After the queue is drained, this buffer has been handled.
    void push(const SoundBuffer& sound);

  private:
    struct State;

    const std::shared_ptr<State> state_;  // shared with the work that waits in the queue
    SerialQueue& queue_;
    const std::function<void()> dropping_;
};

}  // namespace lumivastor::platform
