// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/serial_queue.h"
#include "platform/capture_stream.h"
#include "platform/sound/sound_delivery.h"
#include "platform/sound_system.h"

namespace lumivastor::platform {

/// The sound of a capture stream, the same for every kind of desktop: takes system sound and microphone from the sound
/// system and delivers them to the stream's outputs. Used like the stream itself: add outputs, start, stop; once, on
/// one thread.
class StreamSound {
  public:
    /// `system` may be null; starting then fails if sound is configured.
    StreamSound(std::shared_ptr<SoundSystem> system, const StreamConfiguration& configuration);
    ~StreamSound();
    StreamSound(const StreamSound&) = delete;
    StreamSound& operator=(const StreamSound&) = delete;

    void addSystemAudioOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler);
    void addMicrophoneOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler);
    /// Called on any thread with a German sentence.
    void onNotice(std::function<void(const std::string&)> handler);

    /// Starts the kinds of sound that are configured and have an output. Throws `RecorderError`; nothing runs then.
    void start();
    /// When it returns, everything that was heard has been posted to the queues. No effect when nothing runs.
    void stop();

  private:
    struct Output {
        SerialQueue* queue = nullptr;
        std::function<void(const SoundBuffer&)> handler;
        std::unique_ptr<SoundDelivery> delivery;
        std::unique_ptr<SoundSource> source;  // after delivery: it uses it
    };
    void startSource(Output& output, std::unique_ptr<SoundSource> source, const std::string& name);

    const std::shared_ptr<SoundSystem> system_;
    const StreamConfiguration configuration_;
    std::function<void(const std::string&)> notice_;
    Output systemAudio_;
    Output microphone_;
};

}  // namespace lumivastor::platform
