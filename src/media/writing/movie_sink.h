// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "base/media_time.h"
#include "base/unique_descriptor.h"
#include "ffmpeg/ffmpeg_handles.h"

namespace lumivastor::media {

/// WebM holds VP9 and Opus, the others what `VideoCodec` and `AudioCodec` have besides.
enum class MovieContainer { mp4, quickTime, webM };

/// The movie file that a writer fills: first its streams are added, then the encoded packets of all streams are
/// written, each stream's in decoding order. `write` and `endAt` may be called on any thread; the rest belongs to one.
/// Every error is a `RecorderError` with the system's reason.
class MovieSink {
  public:
    MovieSink() = default;
    virtual ~MovieSink() = default;
    MovieSink(const MovieSink&) = delete;
    MovieSink& operator=(const MovieSink&) = delete;

    /// Whether this container can hold samples of this format.
    static bool canHold(MovieContainer container, const AVCodecParameters& parameters);

    /// Whether the movie is readable while it is written; then no packet should wait in an encoder.
    virtual bool isFragmented() const { return false; }

    /// How often `write` had to wait for the disk so far. Any thread.
    virtual std::int64_t diskWaits() const { return 0; }

    /// Adds a stream whose packets' times count in 1 / `timescale` seconds, and returns its position. A picture track
    /// has the same clock in the file, except in WebM files, which count milliseconds. `frameRate` is that of pictures,
    /// if it is constant; 0 otherwise.
    virtual int addStream(const AVCodecParameters& parameters, int timescale, int frameRate) = 0;

    /// Writes the header. No streams after that.
    virtual void begin() = 0;

    /// Takes over the packet's bytes.
    virtual void write(int stream, AVPacket& packet) = 0;

    /// The last pictures are shown until `end`, a time of the movie, or for one tick if they are later; sound from
    /// there on is left out unless it is already written.
    virtual void endAt(const MediaTime& end) = 0;

    /// Writes the index and closes the file, which is on the disk afterwards.
    virtual void finish() = 0;

    /// Closes the file without completing it. A second call does nothing.
    virtual void close() = 0;

  protected:
    /// What happens to an existing file. If emptied, it stays the same file with its locks: for films that are made in
    /// a prepared file. If removed, it stays unchanged for programs that have it open.
    enum class Existing { emptied, removed };
    /// Creates the file, accessible to its owner only. A link of that name is removed; its target does not change.
    /// Pipes and devices are opened unchanged. Errors call the file `shownName`.
    static UniqueDescriptor createFile(const std::filesystem::path& path, const std::string& shownName,
                                       Existing existing);
};

}  // namespace lumivastor::media
