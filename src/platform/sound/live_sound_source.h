// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "base/recorder_error.h"
#include "platform/sound/clock_drift_corrector.h"
#include "platform/sound_system.h"

namespace lumivastor::platform {

/// One connection to a sound server with one stream that records. All calls on one thread.
class AudioInputStream {
  public:
    enum class State {
        running,
        changed,  // the device is another one now (the user plugged in a headset): open a new line
        gone,     // no more sound comes
    };

    virtual ~AudioInputStream() = default;

    /// Waits for up to `seconds`, and passes on what came.
    virtual State run(double seconds) = 0;

    /// What the server says of the device that is recorded; nullopt when that is not known.
    virtual std::optional<InputState> state() { return std::nullopt; }
};

/// The common part of sources of every sound server: a thread that opens a line, runs it, reports when it is gone and
/// when there is one again, and opens another until it is stopped.
class LiveSoundSource final : public SoundSource {
  public:
    /// Opens a line that passes its sound to `steady`. Throws `RecorderError` within seconds when there is none.
    using Open = std::function<std::unique_ptr<AudioInputStream>(ClockDriftCorrector& corrector)>;

    /// `options.channels` of 0: `channels` returns the number when the source starts, on the source's thread; it throws
    /// `RecorderError` when there is no such sound.
    LiveSoundSource(const ClockDriftCorrector::Options& options, Open open, std::function<int()> channels = nullptr);
    ~LiveSoundSource() override;
    LiveSoundSource(const LiveSoundSource&) = delete;
    LiveSoundSource& operator=(const LiveSoundSource&) = delete;

    void onReturn(ReturnHandler handler) override;
    void onState(StateHandler handler) override;
    void onlyForLevels() override { options_.isOnlyForLevels = true; }
    void start(Handler handler, EndHandler ended) override;
    void stop() override;

  private:
    void listen(const std::function<void(std::optional<RecorderError>)>& started);
    /// Opens lines until one runs; null when the source was stopped.
    std::unique_ptr<AudioInputStream> reopen(ClockDriftCorrector& corrector);
    void pause(double seconds) const;
    void tellState(AudioInputStream& stream);

    ClockDriftCorrector::Options options_;
    Open open_;
    std::function<int()> channels_;
    Handler handler_;
    EndHandler ended_;
    ReturnHandler returned_;
    StateHandler stateChanged_;
    std::optional<InputState> toldState_;  // the thread's
    std::atomic<double> stopAt_;
    std::thread thread_;
};

}  // namespace lumivastor::platform
