// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

#include "base/media_time.h"
#include "ffmpeg/ffmpeg_handles.h"

namespace lumivastor::media {

/// One open QuickTime or MP4 file with a position for reading packets, which `Asset` and the decoders use. Opens only
/// local regular files of this family of containers, and never another file that one refers to. A file that is still
/// fragmented is walked once when opened, so that its whole index is known as with finished ones. Movies are untrusted:
/// any defect ends in a `RecorderError`. One thread at a time.
class MovieFile {
  public:
    /// Our own movies have at most four tracks. Files with more than this are refused.
    static constexpr int kMaxTracks = 64;

    explicit MovieFile(const std::filesystem::path& path);
    ~MovieFile();
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    AVFormatContext& context() { return *context_; }
    bool isFragmented() const { return fragmented_; }

    /// The stream with this position in the file; null when there is none.
    AVStream* stream(int index);

    /// From now on `readPacket` gives only this stream's packets and skips the others' bytes.
    void selectOnly(int index);

    /// The next packet of the selected streams, false at the end. Throws when the file ends before its index says, or
    /// cannot be read.
    bool readPacket(AVPacket& packet);

    /// Positions at the last key sample whose decode time, in the stream's ticks, is at or before `decodeTime`; at the
    /// first sample when there is none.
    void seek(int index, std::int64_t decodeTime);

    /// The decode time of the last key sample at or before `decodeTime`, in the stream's ticks; the lowest value when
    /// there is none.
    std::int64_t keyTimeBefore(int index, std::int64_t decodeTime);

    /// The decode time of the first key sample behind `decodeTime`, in the stream's ticks.
    std::optional<std::int64_t> keyTimeAfter(int index, std::int64_t decodeTime);

    /// The end of the stream's last sample by the index, and the start of its first.
    MediaTime indexEnd(int index);

  private:
    struct ByteSource;

    void close();
    void walkFragments();

    std::unique_ptr<ByteSource> source_;
    AVIOContext* io_ = nullptr;
    AVFormatContext* context_ = nullptr;
    bool fragmented_ = false;
};

}  // namespace lumivastor::media
