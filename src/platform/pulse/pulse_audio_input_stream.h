// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/pulse/pulse_connection.h"
#include "platform/pulse/pulse_handles.h"
#include "platform/sound/clock_drift_corrector.h"
#include "platform/sound/live_sound_source.h"

namespace lumivastor::pulse {

/// A stream that records the default sink's monitor, or a chosen source or the default one.
class PulseAudioInputStream final : public platform::AudioInputStream {
  public:
    enum class Kind { systemAudio, microphone };

    /// Throws `RecorderError` when there is no server or no such device, after some seconds at most. `choice` is that
    /// of a microphone.
    PulseAudioInputStream(const std::string& server, Kind kind, platform::InputChoice choice, int sampleRate,
                          int channels, platform::ClockDriftCorrector& corrector);
    ~PulseAudioInputStream() override;
    PulseAudioInputStream(const PulseAudioInputStream&) = delete;
    PulseAudioInputStream& operator=(const PulseAudioInputStream&) = delete;

    State run(double seconds) override;
    std::optional<platform::InputState> state() override { return state_; }

  private:
    /// The time at which one frame was or will be heard.
    struct Timing {
        std::int64_t frame = 0;
        double hostSeconds = 0;
    };

    std::string wantedDevice();
    /// Asks what the recorded source is now: the server may have moved the stream.
    void updateState();
    void connect();
    /// Requests the server's latencies; the answer arrives within `run`. The library's interpolated latencies are wrong
    /// for seconds after a new stream has changed a sink's latency; the raw ones are exact from the first on.
    void askForTiming();
    void takeTiming();
    void read();
    /// The host time at which `frame` was heard; `waitingFrames` frames from it on have arrived.
    double heardAt(std::int64_t frame, std::int64_t waitingFrames) const;
    bool isFollowing();

    PulseConnection connection_;
    Kind kind_;
    platform::InputChoice choice_;
    int sampleRate_;
    int channels_;
    platform::ClockDriftCorrector& corrector_;
    bool isPipeWire_ = false;
    std::string device_;
    StreamHandle stream_;
    OperationHandle question_;      // the pending request
    std::optional<Timing> timing_;  // the latest answer
    std::int64_t frame_ = 0;
    bool sourcesMayHaveChanged_ = false;
    std::optional<platform::InputState> state_;  // of a microphone
};

}  // namespace lumivastor::pulse
