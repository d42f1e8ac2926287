// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/pipewire/pipewire_connection.h"
#include "platform/pipewire/sink_latency.h"
#include "platform/sound/clock_drift_corrector.h"
#include "platform/sound/live_sound_source.h"

namespace lumivastor::pipewire {

/// A stream that records the default sink's monitor or the default source.
class PipeWireAudioInputStream final : public platform::AudioInputStream {
  public:
    enum class Kind { systemAudio, microphone };

    /// Throws `RecorderError` when there is no server or no such device, after some seconds at most.
    PipeWireAudioInputStream(const std::string& remote, Kind kind, int sampleRate, int channels,
                             platform::ClockDriftCorrector& corrector);
    ~PipeWireAudioInputStream() override;
    PipeWireAudioInputStream(const PipeWireAudioInputStream&) = delete;
    PipeWireAudioInputStream& operator=(const PipeWireAudioInputStream&) = delete;

    State run(double seconds) override;

  private:
    class Stream;

    PipeWireConnection connection_;
    std::unique_ptr<SinkLatency> latency_;  // system audio only
    std::unique_ptr<Stream> stream_;
};

/// The server's default microphone; nullopt when there is none.
std::optional<PipeWireConnection::Node> defaultMicrophone(const PipeWireConnection& connection);
/// The number of channels with which a microphone is recorded.
int microphoneChannels(const PipeWireConnection::Node& node);

}  // namespace lumivastor::pipewire
