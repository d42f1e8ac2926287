// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <mutex>
#include <optional>

#include "base/pixel_size.h"
#include "imaging/damage_area.h"
#include "imaging/pixel_buffer.h"
#include "platform/pipewire/screen_picture.h"

namespace lumivastor::wayland {

/// The present content of a screen's stream. Producers own few buffers and want them back at once, while a recording
/// takes pictures at its own pace: the canvas keeps every change in between, so that none is lost. Any thread.
class ScreenCanvas {
  public:
    /// Copies what has changed in `picture`; after a change of size, everything.
    void show(const pipewire::ScreenPicture& picture);
    /// Whether the producer is sending. Content stays, but a producer that rests shows nothing at the moment.
    void setStreaming(bool isStreaming);

    /// `wake` is called after each `show` and `setStreaming`, on the thread that called those, until it is replaced.
    /// An empty one ends that; none is running when this returns. Must not call the canvas.
    void onChange(std::function<void()> wake);

    struct State {
        PixelSize size;  // 0 x 0 before the first picture
        double shownAt = 0;
        bool isStreaming = false;
    };
    /// The state, and what has changed since the last call, in pixels of the content. The first call, and the first
    /// after a change of size, gives everything.
    State take(imaging::DamageArea& damage);
    State state() const;

    /// Copies `parts` of `target` from the content; the content's pixel (x + dx, y + dy) goes to the target's (x, y).
    /// Where there is no content, black. The parts lie within `target`. What has changed since the last `take` is
    /// copied and added to `parts`, too, so that the target shows one moment; the next `take` still gives it. Returns
    /// when that moment was shown; nullopt, and nothing is copied, when the size has changed since the last `take`.
    std::optional<double> copy(imaging::DamageArea& parts, int dx, int dy,
                               imaging::BgraPremultipliedBuffer& target) const;

    /// A copy of the whole content; empty before the first picture.
    imaging::BgraPremultipliedBuffer snapshot() const;

  private:
    mutable std::mutex lock_;
    imaging::BgraPremultipliedBuffer content_;
    imaging::DamageArea damage_;
    State state_;
    PixelSize takenSize_;  // of the last `take`
    std::mutex wakeLock_;  // held while `wake_` runs; taken without `lock_`
    std::function<void()> wake_;
};

}  // namespace lumivastor::wayland
