// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "media/writing/asset_writer.h"

namespace lumivastor {

/// A movie as a recorder writes it: numbered pictures at any times, sound beside them, in fragments.
struct LiveMovieOptions {
    media::VideoCodec codec = media::VideoCodec::h264;
    int width = 128;
    int height = 96;
    int frameRate = 30;                      // told to the encoder
    std::vector<std::int64_t> pictureTicks;  // of the session, in six-hundredths of a second
    int soundTracks = 0;                     // each one tone, 440 Hz and its multiples
    double soundSeconds = 0;                 // 0: as long as the pictures
    double soundStartSeconds = 0;
    MediaTime interval{2, 1};
    MediaTime start{123456789, 600};  // of the session, as a host clock would have it
    std::optional<double> endSeconds;
};

/// Pictures at a steady pace.
std::vector<std::int64_t> steadyTicks(int count, int frameRate);

/// A writer with its inputs, started.
class LiveMovie {
  public:
    LiveMovie(const std::filesystem::path& path, LiveMovieOptions options);

    /// Appends everything, waiting for room; false when the writer failed on the way.
    bool appendAll();
    /// Ends the session if the options say so, and finishes. Returns the error, or an empty text.
    std::string finish();

    media::AssetWriter& writer() { return writer_; }
    media::VideoWriterInput& video() { return *video_; }

  private:
    bool appendSound(double untilSeconds);

    LiveMovieOptions options_;
    media::AssetWriter writer_;
    media::VideoWriterInput* video_ = nullptr;
    std::vector<media::AudioWriterInput*> sounds_;
    std::int64_t soundPosition_ = 0;
};

/// The same tracks with all their samples in a file that stays fragmented.
void leaveUnfinished(const std::filesystem::path& path, const LiveMovieOptions& options);

/// A hash of the pixels of each picture, decoded by FFmpeg directly.
std::vector<std::uint64_t> decodedHashes(const std::filesystem::path& path);

/// The first channel of a whole sound track.
std::vector<float> decodedSound(const std::filesystem::path& path, int track);

}  // namespace lumivastor
