// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/media_time.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::media {

enum class TrackKind { video, audio };

/// The description of one track in a movie. Times count from the movie's zero; edit lists are applied.
struct AssetTrack {
    int id = 0;  // of the track in its file, unique there
    TrackKind kind = TrackKind::video;
    std::string codec;             // FFmpeg's short name: "hevc", "h264", "aac"
    MediaTime start;               // of its first sample
    MediaTime end;                 // of its last sample
    std::int64_t sampleCount = 0;  // in the file's index; each picture is one

    // Video only. The size is in pixels, before any rotation that the file may ask for.
    int width = 0;
    int height = 0;
    imaging::YuvEncoding encoding;  // as tagged; without a tag BT.709 from HD size on
    bool colourTagged = false;      // whether file or stream name the matrix. For tests.

    // Audio only.
    int sampleRate = 0;
    int channels = 0;

    MediaTime duration() const { return end - start; }

    int streamIndex = 0;  // position in the file; for this folder's readers
};

class MovieFile;

/// A movie file on disk, opened once to read its track descriptions. Immutable afterwards: share it between threads as
/// `shared_ptr<const Asset>`. Readers open the file again, except for one (see `takeFile`).
class Asset {
  public:
    /// Opens a local QuickTime or MP4 file. Throws `RecorderError` when it cannot be read, is no such movie, is damaged
    /// in its header, or exceeds the limits of `MovieFile`.
    explicit Asset(std::filesystem::path path);
    ~Asset();
    Asset(Asset&&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// Video and audio tracks in the file's order. Tracks of other kinds are left out.
    const std::vector<AssetTrack>& tracks() const { return tracks_; }
    std::vector<AssetTrack> tracks(TrackKind kind) const;
    /// Null when the file has no such track.
    const AssetTrack* track(int id) const;

    /// The latest end of all tracks.
    MediaTime duration() const;

    /// Whether the movie is still in fragments, as a recording that was not finished leaves it.
    bool isFragmented() const { return fragmented_; }

    /// The file as this object has opened it, for the first reader that asks; null for all others. Opening hours of
    /// recording takes a tenth of a second. Any thread.
    std::unique_ptr<MovieFile> takeFile() const;

  private:
    std::filesystem::path path_;
    std::vector<AssetTrack> tracks_;
    bool fragmented_ = false;
    mutable std::mutex lock_;
    mutable std::unique_ptr<MovieFile> file_;  // guarded by lock_
};

}  // namespace lumivastor::media
