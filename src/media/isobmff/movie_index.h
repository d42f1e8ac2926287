// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/media_time.h"

// A movie's header: the description of its tracks, and the index of their samples. A fragmented movie has the
// description in its first box, a finished one has both in its last box.
namespace lumivastor::media {

/// One track without its samples. Times of a track count in 1 / `timescale` seconds.
struct TrackHeader {
    std::uint32_t id = 0;
    bool isVideo = true;
    std::uint32_t timescale = 0;
    /// The part of the track's own time before the movie's zero: the priming of a sound encoder. The edit list removes
    /// it.
    std::uint32_t encoderDelay = 0;
    int width = 0;  // in pixels; 0 for sound
    int height = 0;
    std::vector<std::uint8_t> sampleDescription;  // the whole box
};

/// One sample of a track: its size in bytes, and how long it is shown or heard.
struct TrackSample {
    std::uint32_t size = 0;
    std::uint32_t duration = 0;
    bool isKey = true;
};

/// The samples of one track in the order of time; takes a dozen bytes for each.
class TrackIndex {
  public:
    explicit TrackIndex(TrackHeader header) : header_(std::move(header)) {}

    const TrackHeader& header() const { return header_; }

    /// Whether `count` samples can follow that begin at `start`, in the track's own time.
    bool canAppend(std::int64_t start, std::size_t count) const;
    /// Appends samples that are contiguous in the file from `offset` on. A gap between the sample before and `start` is
    /// added to the duration of that sample. `canAppend` must hold.
    void append(std::int64_t start, std::uint64_t offset, std::span<const TrackSample> samples);

    /// The last sample lasts until `end`, a time of the movie; see `MovieSink::endAt`.
    void endAt(const MediaTime& end);

    /// Whether the track shows or plays anything.
    bool isEmpty() const { return end_ <= first_ + header_.encoderDelay; }
    std::size_t sampleCount() const { return samples_.size(); }
    /// When its last sample ends, in seconds of the movie.
    double endSeconds() const;

  private:
    friend class TrackBoxes;
    std::int64_t lastDurationUntil(std::int64_t start) const;

    struct Sample {
        std::uint32_t size;
        std::uint32_t duration;
    };
    struct Chunk {
        std::uint64_t offset;
        std::uint32_t firstSample;
    };

    TrackHeader header_;
    std::vector<Sample> samples_;
    std::vector<std::uint32_t> keys_;  // positions in samples_
    std::vector<Chunk> chunks_;
    std::int64_t first_ = 0;  // where samples_ begins and ends, in the track's own time
    std::int64_t end_ = 0;
};

/// The beginning of a movie in fragments: file type, and a header of tracks without samples.
std::vector<std::uint8_t> fragmentedBeginning(std::span<const TrackHeader> tracks);

/// Parses such a header box ("moov", without its own header). nullopt unless `fragmentedBeginning` could have made it.
std::optional<std::vector<TrackHeader>> parseFragmentedHeader(std::span<const std::uint8_t> content);

/// The header box of a finished movie, with the index. Empty tracks are left out.
std::vector<std::uint8_t> finishedHeader(std::span<const TrackIndex> tracks);

}  // namespace lumivastor::media
