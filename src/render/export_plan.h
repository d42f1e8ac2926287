// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/media_time.h"
#include "base/pixel_rect.h"
#include "base/pixel_size.h"
#include "edit/studio_layout.h"
#include "media/reading/asset_reader.h"
#include "media/region/region_video_encoder.h"
#include "media/writing/audio_encoder.h"
#include "media/writing/video_encoder.h"

// The decisions of an export that need no file: number and times of the pictures, when and where a failed reader
// restarts, progress, volumes. Pure functions and values. Seconds are of the edited video unless stated otherwise.

namespace lumivastor::render {

/// How often a picture for which there is no memory is tried again, and the pause before each attempt.
inline constexpr int kMemoryAttempts = 200;
inline constexpr std::chrono::milliseconds kMemoryPause{10};

/// The clock of an export's own times: 600 has whole ticks for 24, 25, 30, 50, 60 and 120 pictures a second.
inline constexpr std::int32_t kExportTimescale = 600;

/// The picture size that belongs to a height: 16:9, the width rounded down. Throws `RecorderError` for heights that no
/// H.264 movie has.
PixelSize exportCanvas(std::int64_t height);

/// Throws `RecorderError` for frame rates that the export's clock cannot express: recordings are untrusted.
void checkFrameRate(std::int64_t fps);

/// The number of pictures of a video of `seconds`; at least one.
std::int64_t frameCount(double seconds, std::int64_t fps);

double frameSeconds(std::int64_t index, std::int64_t fps);

/// Bits a second for pictures of this size: 0.1 for each pixel.
std::int64_t exportBitRate(PixelSize canvas, std::int64_t fps);

/// How a film's pictures are encoded, except container and encoder: a constant quality that keeps text sharp, limited
/// by `exportBitRate`; pictures in which little changed by ourselves where the encoder allows it, as
/// `exportRegionSettings` say.
media::VideoSettings exportVideoSettings(PixelSize canvas, std::int64_t fps, const std::optional<PixelRect>& camera);

/// `camera`: where a camera's picture lies on the canvas (pixels, top-left origin), whose noise is not worth the bits
/// of text.
media::RegionVideoSettings exportRegionSettings(PixelSize canvas, std::int64_t fps,
                                                const std::optional<PixelRect>& camera);

/// The same for a WebM film, whose encoder codes all pictures.
media::VideoSettings webMVideoSettings(PixelSize canvas, std::int64_t fps);
media::AudioSettings webMAudioSettings();

/// The whole pixels of a canvas of that height that a rectangle touches, which has a bottom-left origin.
PixelRect pixelsTouchedBy(const Rect& rect, PixelSize canvas);

/// The progress to report after `done` of `total` pictures, when `told` were done at the last call; nullopt when none
/// is due. Never 1, which means that the file is finished. `before`: what was done before the first picture, 0 to 1.
std::optional<double> progressAfter(std::int64_t told, std::int64_t done, std::int64_t total, double before = 0);

/// Splits volumes above 1 into a mix that lowers all tracks and a gain that raises the sum again, because limiting must
/// follow the sum.
struct SplitMix {
    std::vector<media::AudioMixInput> inputs;
    float gain = 1;  // at least 1
};
SplitMix splitMix(std::vector<media::AudioMixInput> inputs);

/// Multiplies by `gain` and limits to -1...1, in place; a gain of 1 (within 0.001) touches nothing.
void amplify(std::span<float> values, float gain);

/// Decides when and where a reader restarts behind damage, and when to give up. Damage usually ends at the next key
/// picture, at most a few seconds later, so the steps grow up to 5 s.
class RestartPolicy {
  public:
    /// Attempts for the whole export, over all damaged places.
    static constexpr int kLimit = 12;

    struct Attempt {
        int number = 0;  // from 1
        MediaTime time;  // where reading restarts
    };

    /// Whether a failed reader must restart at `t` in a video of `duration`: not at the very end, where the last
    /// picture is held.
    static bool isCalledFor(bool readerFailed, double t, double duration);

    /// Counts and returns the next attempt; nullopt after `kLimit` attempts. `lastSeconds` is the time of the last
    /// picture that was read; negative without one.
    std::optional<Attempt> next(double lastSeconds);

  private:
    int attempts_ = 0;
};

}  // namespace lumivastor::render
