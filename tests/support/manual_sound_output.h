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

/// A sound device whose time a test moves by hand. It holds 50 ms that it has asked for and not yet played, as real
/// ones do. Starting and stopping belong to the player's thread; the test's calls come from any one thread.
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

    /// Lets time go on, as a device does: by at most 10 ms at once, asking for sound in between. Nothing when stopped.
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

    /// As when the server goes away.
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
    /// Everything asked for so far, of all runs, interleaved.
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

    mutable std::mutex lock_;  // held while sound is asked for
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
