// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

#include "base/media_time.h"
#include "base/unique_descriptor.h"
#include "ffmpeg/ffmpeg_handles.h"

namespace lumivastor::media {

enum class MovieContainer { mp4, quickTime };

/// The movie file that a writer fills: streams are added, then encoded packets of all of them come in, each stream's in
/// the order of decoding. `write` may be called on any thread, and `endAt` too; the rest belongs to one. Every error is
/// a `RecorderError` with the system's reason.
class MovieSink {
  public:
    MovieSink() = default;
    virtual ~MovieSink() = default;
    MovieSink(const MovieSink&) = delete;
    MovieSink& operator=(const MovieSink&) = delete;

    /// Whether this container can hold samples of this format.
    static bool canHold(MovieContainer container, const AVCodecParameters& parameters);

    /// Whether the movie is readable while it is written, so that no packet should wait in an encoder.
    virtual bool isFragmented() const { return false; }

    /// A new stream whose packets' times count in 1 / `timescale` seconds; its position. `timescale` as well for tracks
    /// of pictures, whose clock in the file is this one.
    virtual int addStream(const AVCodecParameters& parameters, int timescale) = 0;

    /// Writes the header. No streams after that.
    virtual void begin() = 0;

    /// Takes the packet's bytes over.
    virtual void write(int stream, AVPacket& packet) = 0;

    /// The last pictures are shown until `end`, a time of the movie, or for one tick if they come later; sound from
    /// there on is left out as far as it is not written.
    virtual void endAt(const MediaTime& end) = 0;

    /// Writes the index and closes; the file is on the disk afterwards.
    virtual void finish() = 0;

    /// Closes the file as far as it is written. A second time does nothing.
    virtual void close() = 0;

  protected:
    /// What becomes of a file that is there already. Emptied, it stays the same file, with the locks on it: for films
    /// that are made in a place prepared for them. Removed, it stays as it is for programs that have it open.
    enum class Existing { emptied, removed };
    /// Creates the file, its owner's alone. A link of that name is removed: what it leads to stays as it is. Pipes and
    /// devices are opened as they are. Errors call the file `shownName`.
    static UniqueDescriptor createFile(const std::filesystem::path& path, const std::string& shownName,
                                       Existing existing);
};

}  // namespace lumivastor::media
