// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

#include "platform/sound/sound_output.h"

namespace lumivastor {

/// A sound device whose time a test moves by hand. Like real devices it buffers 50 ms that it has requested but not yet
/// played. The player's thread starts and stops it; the test calls it from any one thread.
class ManualSoundOutput final : public platform::SoundOutput {
  public:
    static constexpr std::int64_t kAheadFrames = 2400;

    void start(Client client) override {
        const std::lock_guard hold(lock_);
        ++starts_;
        written_ = 0;
        {
            const std::lock_guard clock(clockLock_);
            heard_ = 0;
        }
        if (isBroken_) {
            client.lost(RecorderError("Kein Tonserver gefunden."));
            return;
        }
        client_ = std::move(client);
        isRunning_ = true;
    }

    void stop() override {
        const std::lock_guard hold(lock_);
        isRunning_ = false;
        client_ = {};
    }

    std::int64_t heardFrames() const override {
        const std::lock_guard hold(clockLock_);
        return heard_;
    }

    /// Advances time like a device, in steps of at most 10 ms, and requests sound in between. No effect when stopped.
    void advance(double seconds) {
        auto frames = static_cast<std::int64_t>(seconds * kFormat.sampleRate + 0.5);
        while (frames > 0) {
            const std::int64_t step = std::min<std::int64_t>(frames, 480);
            frames -= step;
            const std::lock_guard hold(lock_);
            if (!isRunning_) return;
            ask(heard_ + step + kAheadFrames);
            const std::lock_guard clock(clockLock_);
            heard_ += step;
        }
    }

    /// Simulates the loss of the server.
    void lose() {
        const std::lock_guard hold(lock_);
        if (!isRunning_) return;
        isRunning_ = false;
        client_.lost(RecorderError("Der Tonserver ist weg."));
    }
    /// From now on there is no server.
    void breakDown() {
        const std::lock_guard hold(lock_);
        isBroken_ = true;
    }

    bool isRunning() const {
        const std::lock_guard hold(lock_);
        return isRunning_;
    }
    int starts() const {
        const std::lock_guard hold(lock_);
        return starts_;
    }
    /// All sound requested so far, in all runs, interleaved.
    std::vector<float> sound() const {
        const std::lock_guard hold(lock_);
        return sound_;
    }

  private:
    void ask(std::int64_t until) {
        if (until <= written_) return;
        std::vector<float> values(static_cast<std::size_t>((until - written_) * kFormat.channels));
        client_.fill(values);
        sound_.insert(sound_.end(), values.begin(), values.end());
        written_ = until;
    }

    mutable std::mutex lock_;  // held while sound is requested
    Client client_;            // guarded by lock_, like all below but heard_
    bool isRunning_ = false;
    bool isBroken_ = false;
    int starts_ = 0;
    std::int64_t written_ = 0;
    std::vector<float> sound_;

    mutable std::mutex clockLock_;
    std::int64_t heard_ = 0;  // guarded by both; either is enough to read it
};

}  // namespace lumivastor
