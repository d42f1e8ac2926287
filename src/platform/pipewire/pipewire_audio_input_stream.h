// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/pipewire/pipewire_connection.h"
#include "platform/pipewire/sink_latency.h"
#include "platform/pipewire/source_mute.h"
#include "platform/sound/clock_drift_corrector.h"
#include "platform/sound/live_sound_source.h"

namespace lumivastor::pipewire {

/// A stream that records the default sink's monitor, or a chosen source or the default one.
class PipeWireAudioInputStream final : public platform::AudioInputStream {
  public:
    enum class Kind { systemAudio, microphone };

    /// Throws `RecorderError` when there is no server or no such device, after some seconds at most. `choice` is that
    /// of a microphone.
    PipeWireAudioInputStream(const std::string& remote, Kind kind, const platform::InputChoice& choice, int sampleRate,
                             int channels, platform::ClockDriftCorrector& corrector);
    ~PipeWireAudioInputStream() override;
    PipeWireAudioInputStream(const PipeWireAudioInputStream&) = delete;
    PipeWireAudioInputStream& operator=(const PipeWireAudioInputStream&) = delete;

    State run(double seconds) override;
    std::optional<platform::InputState> state() override;

  private:
    class Stream;

    /// Whether the chosen device has come since this stream was opened. Session managers leave a stream where it is.
    bool hasChosenCome() const;

    PipeWireConnection connection_;
    const platform::InputChoice choice_;
    std::optional<std::uint64_t> chosenSerial_;  // of the chosen device when this stream was opened
    std::unique_ptr<SinkLatency> latency_;       // system audio only
    std::unique_ptr<SourceMute> mute_;           // microphones only
    std::unique_ptr<Stream> stream_;
};

/// The server's default microphone; nullopt when there is none.
std::optional<PipeWireConnection::Node> defaultMicrophone(const PipeWireConnection& connection);
/// The microphone that a choice means at this moment; nullopt when there is none.
std::optional<PipeWireConnection::Node> chosenMicrophone(const PipeWireConnection& connection,
                                                         const platform::InputChoice& choice);
bool isMicrophone(const PipeWireConnection::Node& node);
/// The number of channels with which a microphone is recorded.
int microphoneChannels(const PipeWireConnection::Node& node);

}  // namespace lumivastor::pipewire
