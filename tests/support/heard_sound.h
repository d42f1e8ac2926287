// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/sound_system.h"

namespace lumivastor {

/// Collects the sound of a source, and finds beeps in it. Any thread. Must outlive the source's run.
class HeardSound {
  public:
    /// The handlers to start a source with.
    platform::SoundSource::Handler handler();
    platform::SoundSource::EndHandler endHandler();

    /// Host seconds of the beginning of each beep (see `Beeper`) in the collected sound, ascending.
    std::vector<double> beeps() const;
    std::vector<std::string> ends() const;
    std::vector<platform::SoundBuffer> buffers() const;
    /// Frames that were heard, and how often the time jumped between two buffers by more than a frame.
    std::size_t frames() const;
    int jumps() const;
    /// Whether times ever ran backward.
    bool ranBackward() const;
    void clear();

    /// Waits until `count` beeps were heard; false when that takes longer than `timeout` seconds.
    bool awaitBeeps(std::size_t count, double timeout = 60) const;
    bool awaitFrames(std::size_t count, double timeout = 60) const;
    bool awaitEnd(double timeout = 60) const;

  private:
    mutable std::mutex lock_;
    std::vector<platform::SoundBuffer> buffers_;  // guarded by lock_
    std::vector<std::string> ends_;               // guarded by lock_
};

/// For each beep that was heard, how much later it is than the nearest one played, in seconds. Leaves out those before
/// the first and behind the last one played.
std::vector<double> beepErrors(const std::vector<double>& heard, const std::vector<double>& played);

/// The largest distance between a flash and a beep of the same moment, in seconds.
inline constexpr double kInPlace = 0.020;

/// Whether the beeps of the median error were heard when they were played.
bool areInPlace(const std::vector<double>& errors);

/// Expects that beeps were heard when they were played, and that no time ran backward; prints how far off they were.
void expectInPlace(const HeardSound& heard, const std::vector<double>& played, const char* what);

/// The message of a source's failed start.
std::string startFailure(platform::SoundSource& source);

/// The errors' range and mean in milliseconds, for a test's output.
std::string describeErrors(const std::vector<double>& errors);

}  // namespace lumivastor
