// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <mutex>
#include <optional>
#include <string>

#include "platform/sound/microphone_watch.h"
#include "platform/sound/sound_level.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// How loud the running sound sources are at this moment, and what is wrong with the microphone. Sources write here,
/// windows and recordings read. Any thread; no call waits for more than copying.
class SoundBoard {
  public:
    enum class Kind { systemAudio, microphone };

    // By the sources. Several of one kind may run at once.

    /// `wanted`: as with `MicrophoneWatch`.
    void begin(Kind kind, const std::string& wanted, double now);
    void end(Kind kind);
    /// The sound has ended or is back, while the source runs.
    void lost(Kind kind);
    void returned(Kind kind, const std::string& wanted, double now);
    void add(Kind kind, const SoundBuffer& sound, double now);
    void tell(const InputState& state);

    // By readers.

    /// nullopt while no source of this kind runs.
    std::optional<LevelMeter::Reading> level(Kind kind, double now);
    MicrophoneReport microphone(double now) const;

  private:
    struct Row {
        int running = 0;
        LevelMeter meter;
    };
    Row& row(Kind kind) { return rows_[static_cast<std::size_t>(kind)]; }

    mutable std::mutex lock_;
    std::array<Row, 2> rows_;  // guarded by lock_
    MicrophoneWatch watch_;    // guarded by lock_
};

}  // namespace lumivastor::platform
