// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/device_selection.h"
#include "platform/sound/sound_board.h"
#include "platform/sound_system.h"

namespace lumivastor::platform {

/// A sound system whose default microphone is the one that the user has chosen, while that is there, and whose sources
/// report to a board. So everything that records the default microphone records the chosen one. Any thread.
class SelectedSound final : public SoundSystem {
  public:
    /// The sources it makes may outlive it.
    SelectedSound(std::shared_ptr<SoundSystem> system, std::shared_ptr<const DeviceSelection> selection,
                  std::shared_ptr<SoundBoard> board);

    std::unique_ptr<SoundSource> systemAudio(int sampleRate, int channels) override;
    std::unique_ptr<SoundSource> microphone(int sampleRate) override;
    std::optional<CaptureDevice> defaultMicrophone() override;
    std::vector<CaptureDevice> microphones() override { return system_->microphones(); }
    /// Not reported to the board: it is not the microphone.
    std::unique_ptr<SoundSource> input(int sampleRate, const InputChoice& choice) override {
        return system_->input(sampleRate, choice);
    }

  private:
    const std::shared_ptr<SoundSystem> system_;
    const std::shared_ptr<const DeviceSelection> selection_;
    const std::shared_ptr<SoundBoard> board_;
};

}  // namespace lumivastor::platform
