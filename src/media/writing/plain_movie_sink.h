// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "media/writing/movie_sink.h"

struct AVDictionary;

namespace lumivastor::media {

/// A movie whose index is written at the end: it is not readable before. The index is then placed before the samples,
/// so that a finished movie plays while it is being downloaded. Finishing rewrites the file once for that, in place;
/// memory and disk space are needed only for the index. WebM files keep theirs at the end. Packets are interleaved by
/// time.
class PlainMovieSink final : public MovieSink {
  public:
    /// Errors call the file `shownName`.
    PlainMovieSink(const std::filesystem::path& path, MovieContainer container, std::string shownName);
    ~PlainMovieSink() override;

    /// Times in seconds. Before `begin`.
    void addChapter(double start, double end, const std::string& title);
    int addStream(const AVCodecParameters& parameters, int timescale, int frameRate) override;
    void begin() override;
    void write(int stream, AVPacket& packet) override;
    void endAt(const MediaTime& end) override;
    void finish() override;
    void close() override;

  private:
    struct ByteTarget;
    struct Track;

    void setUpIndex(AVDictionary*& settings) const;
    void writeHeldBack();
    void writeNow(AVPacket& packet);
    void check(int result);

    const MovieContainer container_;
    const std::string shownName_;
    std::unique_ptr<ByteTarget> target_;
    AVIOContext* io_ = nullptr;
    AVFormatContext* context_ = nullptr;
    int videoTimescale_ = 0;
    std::vector<Track> tracks_;
    bool headerWritten_ = false;
    std::mutex lock_;               // guards context_ and its members, and the tracks, while packets are written
    std::optional<MediaTime> end_;  // guarded by lock_
};

}  // namespace lumivastor::media
