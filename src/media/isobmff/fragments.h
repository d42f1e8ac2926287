// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <system_error>
#include <vector>

#include "base/media_time.h"
#include "media/isobmff/movie_index.h"

// Fragmented movies: a header without samples, then fragments, each a small index ("moof") followed by its samples
// ("mdat"). A file that ends in the middle of a fragment is readable up to there. This is our own strict form: every
// sample's size is listed, and samples lie in the fragment's own box.
namespace lumivastor::media {

/// One track's part of a fragment.
struct FragmentTrack {
    std::uint32_t id = 0;
    std::int64_t start = 0;  // of the first sample, in the track's own time
    std::vector<TrackSample> samples;
    std::vector<std::uint8_t> bytes;  // of all samples, one after the other
};

/// A fragment as it goes into the file. Tracks without samples are left out; at least one has some.
std::vector<std::uint8_t> fragmentBytes(std::uint32_t number, std::span<const FragmentTrack> tracks);

/// The same track's part as its index describes it, and where in the file its samples begin.
struct FragmentRun {
    std::uint32_t id = 0;
    std::int64_t start = 0;
    std::uint64_t offset = 0;
    std::vector<TrackSample> samples;
};

/// Parses a fragment's index ("moof", without its own header) that begins at `offset` in the file. nullopt unless
/// `fragmentBytes` could have made it.
std::optional<std::vector<FragmentRun>> parseFragment(std::span<const std::uint8_t> content, std::uint64_t offset);

/// What an open file in fragments holds.
struct FragmentedMovie {
    std::uint64_t headerOffset = 0;        // where its header box begins
    std::uint64_t wholeEnd = 0;            // where the last whole fragment ends, or without one the header
    std::uint64_t lastFragmentOffset = 0;  // and where it begins
    int fragments = 0;
    std::vector<TrackIndex> tracks;
};

/// Walks the fragments from the first to the last whole one, not beyond `limit` bytes. Stops at the first box that is
/// not a fragment of ours. nullopt when the file does not begin like a fragmented movie.
std::optional<FragmentedMovie> scanFragments(int file, std::uint64_t limit);

/// Makes a plain movie of a fragmented file in place: cuts off everything behind the last whole fragment, appends the
/// index, waits until both are on the disk, and then turns the header box into the beginning of one box of sample data
/// that spans all fragments. The last step changes 16 bytes at once; until then the file is still a fragmented movie.
/// An interruption leaves one or the other.
std::error_code finishInPlace(int file, const FragmentedMovie& movie);

}  // namespace lumivastor::media
