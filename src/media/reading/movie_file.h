// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

#include "base/media_time.h"
#include "ffmpeg/ffmpeg_handles.h"

namespace lumivastor::media {

/// One open QuickTime or MP4 file, positioned for reading packets: the ground under `Asset` and the decoders. Only
/// local regular files, only this family of containers, and nothing that the file refers to elsewhere is ever opened.
/// Still-fragmented files are walked through once when opened, so that their whole index is known as with finished
/// ones. Movies are untrusted: what is wrong with them ends in a `RecorderError`. One thread at a time.
class MovieFile {
  public:
    /// A movie of our own has at most four tracks. More than this is no movie to us.
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

    /// The next packet of the selected streams, false at the end. Throws where the file ends before what its index
    /// promises, or cannot be read.
    bool readPacket(AVPacket& packet);

    /// Positions at the last key sample whose decode time, in the stream's ticks, is at or before `decodeTime`; at the
    /// first sample when there is none.
    void seek(int index, std::int64_t decodeTime);

    /// The decode time of the last key sample at or before `decodeTime`, in the stream's ticks; the lowest value when
    /// there is none.
    std::int64_t keyTimeBefore(int index, std::int64_t decodeTime);

    /// The decode time of the first key sample behind `decodeTime`, in the stream's ticks.
    std::optional<std::int64_t> keyTimeAfter(int index, std::int64_t decodeTime);

    /// Where the stream's last sample ends by the index, and where its first begins.
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
