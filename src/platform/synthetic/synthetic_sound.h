// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/sound_system.h"

namespace lumivastor::synthetic {

/// A sound server that a test drives by hand. Its sources may outlive it. Any thread; handlers run on the thread that
/// emits, so a handler must not stop its own source.
class SyntheticSoundSystem final : public platform::SoundSystem {
  public:
    enum class Kind { systemAudio, microphone };

    /// With a default microphone of one channel.
    SyntheticSoundSystem();
    ~SyntheticSoundSystem() override;

    // SoundSystem
    std::unique_ptr<platform::SoundSource> systemAudio(int sampleRate, int channels) override;
    std::unique_ptr<platform::SoundSource> microphone(int sampleRate) override;
    std::optional<platform::CaptureDevice> defaultMicrophone() override;
    std::vector<platform::CaptureDevice> microphones() override;
    /// Remembers the choice for `lastChoice`.
    std::unique_ptr<platform::SoundSource> input(int sampleRate, const platform::InputChoice& choice) override;

    /// Those besides the default one.
    void setOtherMicrophones(std::vector<platform::CaptureDevice> microphones);
    /// What the last source was made for by `input`.
    platform::InputChoice lastChoice() const;
    /// What the server says of the device of every running microphone. Returns whether there was one.
    bool tell(const platform::InputState& state);

    /// nullopt: there is no microphone, and starting one fails.
    void setDefaultMicrophone(std::optional<platform::CaptureDevice> microphone);
    /// Starting this kind throws a `RecorderError` with this message from now on; nullopt makes it succeed again.
    void failStarts(Kind kind, std::optional<std::string> message);

    /// Passes `buffer` unchanged to every running source of this kind. Returns whether there was one.
    bool emit(Kind kind, const platform::SoundBuffer& buffer);
    /// The same with `frames` frames of one value, with the rate and the channels that each source was made with.
    bool emit(Kind kind, double hostSeconds, std::size_t frames, float value = 0);
    /// Ends the sound of every running source of this kind. What is emitted afterwards still arrives, as after a
    /// server's restart. Returns whether there was a source.
    bool end(Kind kind, const std::string& reason);
    /// Brings the sound back for every running source of this kind for which it has ended. Returns whether any source
    /// of this kind was running.
    bool comeBack(Kind kind);

    /// Sources of this kind that are running at this moment.
    int running(Kind kind) const;

  private:
    class Hub;
    class Source;

    std::shared_ptr<Hub> hub_;
};

}  // namespace lumivastor::synthetic
