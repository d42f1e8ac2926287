// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "base/media_time.h"
#include "ffmpeg/ffmpeg_handles.h"
#include "imaging/yuv_picture.h"
#include "media/reading/asset.h"
#include "media/reading/movie_file.h"

namespace lumivastor::ffmpeg {
class PictureConverter;
}

namespace lumivastor::media {

/// A sample as the file's index describes it.
struct IndexedSample {
    MediaTime decodeTime;  // for movies without reordered pictures the time of its presentation, too
    int bytes = 0;
    bool isKey = false;
    std::int64_t offset = 0;  // of its bytes in the file
};

/// All samples of a track in the order of the index. Reads none of them. Throws `RecorderError` when the file cannot be
/// opened.
std::vector<IndexedSample> sampleIndex(const Asset& asset, int trackId);

/// What can be learned about a video track without decoding it from beginning to end: its index, and its key pictures
/// one by one, for a row of small pictures. Decodes on the caller's thread alone. One thread at a time.
class KeyPictures {
  public:
    /// Throws `RecorderError` when the file cannot be opened. The track exists and is a video track.
    KeyPictures(std::shared_ptr<const Asset> asset, int trackId);
    ~KeyPictures();

    /// All samples of the track in the order of the index. Reads none of them: an hour at 60 pictures a second takes
    /// some milliseconds.
    std::vector<IndexedSample> index() const;

    struct Picture {
        MediaTime presentationTime;
        imaging::YuvPicture samples;
    };
    /// The picture of the last key sample that is decoded at or before this time. nullopt when there is none, or it
    /// cannot be decoded alone. Throws `RecorderError` when the file cannot be read, or its codec is not known.
    std::optional<Picture> decode(const MediaTime& decodeTime);

  private:
    void openCodec();

    const std::shared_ptr<const Asset> asset_;
    const int streamIndex_;
    std::unique_ptr<MovieFile> file_;
    ffmpeg::CodecHandle codec_;  // opened for the first picture
    std::unique_ptr<ffmpeg::PictureConverter> converter_;
};

}  // namespace lumivastor::media
