#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

#include "media/ffmpeg_handles.h"

namespace lumivastor {

enum class MovieContainer { mp4, quickTime };

/// The movie file that a writer fills: streams are added, then encoded packets of all of them come in, each stream's in
/// the order of decoding, and are interleaved by time. `write` may be called on any thread, the rest belongs to one.
/// Every error is a `RecorderError` with the system's reason.
class MovieSink {
  public:
    /// Creates the file, replacing one of that name; a symbolic link of that name is not followed.
    MovieSink(std::filesystem::path path, MovieContainer container);
    ~MovieSink();
    MovieSink(const MovieSink&) = delete;
    MovieSink& operator=(const MovieSink&) = delete;

    /// Whether this container can hold samples of this format.
    static bool canHold(MovieContainer container, const AVCodecParameters& parameters);

    /// A new stream whose packets' times count in 1 / `timescale` seconds; its position. `videoTimescale` as well for
    /// tracks of pictures, whose clock in the file is this one.
    int addStream(const AVCodecParameters& parameters, int timescale);

    /// Writes the header. No streams after that.
    void begin();

    /// Takes the packet's bytes over.
    void write(int stream, AVPacket& packet);

    /// Writes the index and closes; the file is on the disk afterwards.
    void finish();

    /// Closes the file as it is.
    void close();

    const std::filesystem::path& path() const { return path_; }

  private:
    struct ByteTarget;

    void check(int result);

    std::filesystem::path path_;
    std::unique_ptr<ByteTarget> target_;
    AVIOContext* io_ = nullptr;
    AVFormatContext* context_ = nullptr;
    std::mutex lock_;  // guards context_ and what hangs on it while packets are written
    int videoTimescale_ = 0;
};

}  // namespace lumivastor
