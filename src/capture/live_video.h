// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "base/media_time.h"
#include "media/encoder_choice/encoder_choice.h"
#include "media/writing/video_encoder.h"
#include "platform/capture_device.h"

// The encoding of pictures that are recorded live. Plain functions; the sound's settings are in sound_samples.h.

namespace lumivastor::capture {

/// Bits a second of a movie of the screen: 0.08 for each pixel.
std::int64_t averageBitRate(int width, int height, int fps);
/// The same at 60 pictures a second for a device, whose pictures move more: at least 8,000,000.
std::int64_t deviceBitRate(int width, int height);
/// The encoding job of a screen recording.
media::EncodingJob screenEncodingJob(PixelSize size, int fps);

inline constexpr std::int64_t kWebcamBitRate = 8'000'000;

/// Whether such a track can be written, and read again.
bool canAddVideo(const media::VideoSettings& settings);

/// The settings of a live movie's track, except the encoder.
media::VideoSettings liveVideoSettings(int width, int height, int fps, std::int64_t bitRate);
/// The same for a movie of the screen, where mostly little changes: region pictures take it from libx264. Not for
/// cameras, whose noise changes everything.
media::VideoSettings screenVideoSettings(int width, int height, int fps, std::int64_t bitRate);

/// Pictures of live movies have times of the host clock. Microseconds would make the movie's tick counts needlessly
/// large; this clock is exact for 60 and 30 pictures a second and for the timescale 600, and off by 8 microseconds at
/// most.
inline constexpr std::int32_t kLiveTimescale = 60'000;
/// The most that a killed recording loses.
inline constexpr MediaTime kFragmentInterval{1200, 600};

}  // namespace lumivastor::capture
