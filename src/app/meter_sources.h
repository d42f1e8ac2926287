// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "base/serial_queue.h"
#include "platform/sound_system.h"

namespace lumivastor::app {

/// Runs the sound sources whose levels the main window shows; nothing is recorded. They are opened and closed in the
/// background. Main thread.
class MeterSources {
  public:
    explicit MeterSources(platform::SoundSystem& sound) : sound_(sound) {}
    ~MeterSources();
    MeterSources(const MeterSources&) = delete;
    MeterSources& operator=(const MeterSources&) = delete;

    struct Wanted {
        bool systemAudio = false;
        bool microphone = false;
    };
    /// Opens what is wanted and not open, also if that failed before, and closes the rest.
    void run(Wanted wanted);
    /// Closes the microphone and opens it again if it was open: another one was chosen.
    void reopenMicrophone();

  private:
    // The queue's.
    void adjust(std::unique_ptr<platform::SoundSource>& source, bool isWanted, bool isMicrophone);

    platform::SoundSystem& sound_;
    std::unique_ptr<platform::SoundSource> systemAudio_;  // the queue's
    std::unique_ptr<platform::SoundSource> microphone_;   // the queue's
    SerialQueue queue_{"app.meters"};
};

}  // namespace lumivastor::app
