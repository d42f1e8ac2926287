// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/media_time.h"
#include "base/pixel_size.h"
#include "edit/studio_layout.h"
#include "media/reading/asset_reader.h"

// What an export decides without touching a file: how many pictures there are and when, when a broken reader is made
// again and where, what is reported, how loud everything is. Pure functions and values. Seconds are of the edited video
// unless said otherwise.

namespace lumivastor::render {

/// The clock of all times that an export makes up: 600 has whole ticks for 24, 25, 30, 50, 60 and 120 a second.
inline constexpr std::int32_t kExportTimescale = 600;

/// The picture size that belongs to a height: 16:9, the width rounded down. Throws `RecorderError` for heights that no
/// H.264 movie has.
PixelSize exportCanvas(std::int64_t height);

/// Pictures a second that an export can time on its clock. Throws `RecorderError` for all others: recordings are
/// untrusted.
void checkFrameRate(std::int64_t fps);

/// The pictures of a video of `seconds`: at least one, however short it is.
std::int64_t frameCount(double seconds, std::int64_t fps);

double frameSeconds(std::int64_t index, std::int64_t fps);

/// Bits a second for pictures of this size: 0.1 for each pixel.
std::int64_t exportBitRate(PixelSize canvas, std::int64_t fps);

/// What is reported once `done` pictures of `total` are handed over; none when nothing is. 1 is left for the finished
/// file.
std::optional<double> progressAfter(std::int64_t done, std::int64_t total);

/// Volumes above 1 as a mix that reduces everything and a gain that raises the sum again, because what is too loud has
/// to be limited after the sum and not before.
struct SplitMix {
    std::vector<media::AudioMixInput> inputs;
    float gain = 1;  // at least 1
};
SplitMix splitMix(std::vector<media::AudioMixInput> inputs);

/// Multiplies by `gain` and limits to -1...1, in place; a gain of 1 (within 0.001) touches nothing.
void amplify(std::span<float> values, float gain);

/// When a reader that met damage is made again, a little further on, and when that has been tried often enough. A
/// damaged stretch usually ends at the next key picture, at most a few seconds later, so the steps grow up to 5 s.
class RestartPolicy {
  public:
    /// Attempts in one export, all damaged places together.
    static constexpr int kLimit = 12;

    struct Attempt {
        int number = 0;  // from 1
        MediaTime time;  // where to begin reading
    };

    /// Whether a reader that failed matters at `t` of a video of `duration`: at the very end the last picture is held.
    static bool isCalledFor(bool readerFailed, double t, double duration);

    /// Counts one more attempt; none when there have been as many as allowed. `lastSeconds`: the time of the last
    /// picture that was read; negative when there was none.
    std::optional<Attempt> next(double lastSeconds);

  private:
    int attempts_ = 0;
};

}  // namespace lumivastor::render
