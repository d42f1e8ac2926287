// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/isobmff/fragments.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

#include "base/descriptor_io.h"
#include "media/isobmff/movie_boxes.h"

namespace lumivastor::media {

namespace {

// Flags of a track's part of a fragment: the values that hold for all samples, and that offsets count from the
// fragment.
constexpr std::uint32_t kCommonDuration = 0x8;
constexpr std::uint32_t kCommonFlags = 0x20;
constexpr std::uint32_t kDefaultBaseIsMoof = 0x20000;
// Flags of its list of samples: the values of each sample.
constexpr std::uint32_t kDataOffsetPresent = 0x1;
constexpr std::uint32_t kHasDurations = 0x100;
constexpr std::uint32_t kHasSizes = 0x200;
constexpr std::uint32_t kHasFlags = 0x400;
// A sample's own: whether others are needed to decode it.
constexpr std::uint32_t kIsKey = 0x02000000;
constexpr std::uint32_t kIsNoKey = 0x01010000;
constexpr std::uint32_t kIsNotSync = 0x00010000;

// A fragment's index takes a dozen bytes a sample. A larger one is not ours.
constexpr std::uint64_t kMaxFragmentIndex = 16 << 20;
constexpr std::uint64_t kMaxHeader = 1 << 20;
// The limits for one file, more than a day of two sound tracks and pictures, so that memory stays bounded whatever a
// file claims.
constexpr std::size_t kMaxSamples = 32'000'000;

std::uint32_t flagsOf(const TrackSample& sample) {
    return sample.isKey ? kIsKey : kIsNoKey;
}

// Writes one track's part; returns the position of the number for the offset of its samples, to be filled in later.
std::size_t writeTrack(BoxWriter& boxes, const FragmentTrack& track) {
    const TrackSample& first = track.samples.front();
    const auto allLike = [&track](auto same) { return std::all_of(track.samples.begin(), track.samples.end(), same); };
    const bool sameDuration = allLike([&first](const TrackSample& s) { return s.duration == first.duration; });
    const bool sameFlags = allLike([&first](const TrackSample& s) { return s.isKey == first.isKey; });
    boxes.begin(fourCC("traf"));
    boxes.begin(fourCC("tfhd"), 0,
                kDefaultBaseIsMoof | (sameDuration ? kCommonDuration : 0) | (sameFlags ? kCommonFlags : 0));
    boxes.u32(track.id);
    if (sameDuration) boxes.u32(first.duration);
    if (sameFlags) boxes.u32(flagsOf(first));
    boxes.end();
    boxes.begin(fourCC("tfdt"), 1, 0);
    boxes.u64(static_cast<std::uint64_t>(track.start));
    boxes.end();
    boxes.begin(fourCC("trun"), 0,
                kDataOffsetPresent | kHasSizes | (sameDuration ? 0 : kHasDurations) | (sameFlags ? 0 : kHasFlags));
    boxes.u32(static_cast<std::uint32_t>(track.samples.size()));
    const std::size_t place = boxes.size();
    boxes.u32(0);
    for (const TrackSample& sample : track.samples) {
        if (!sameDuration) boxes.u32(sample.duration);
        boxes.u32(sample.size);
        if (!sameFlags) boxes.u32(flagsOf(sample));
    }
    boxes.end();
    boxes.end();
    return place;
}

std::optional<FragmentRun> parseTrack(std::span<const std::uint8_t> content, std::uint64_t fragmentOffset) {
    const auto header = findBox(content, fourCC("tfhd"));
    const auto time = findBox(content, fourCC("tfdt"));
    const auto list = findBox(content, fourCC("trun"));
    if (!header || !time || !list) return std::nullopt;

    FragmentRun run;
    ByteReader headerReader(header->content);
    const std::uint32_t common = headerReader.u32();
    if ((common & ~(kCommonDuration | kCommonFlags)) != kDefaultBaseIsMoof) return std::nullopt;
    run.id = headerReader.u32();
    TrackSample sample;
    if ((common & kCommonDuration) != 0) sample.duration = headerReader.u32();
    if ((common & kCommonFlags) != 0) sample.isKey = (headerReader.u32() & kIsNotSync) == 0;

    ByteReader timeReader(time->content);
    constexpr std::uint32_t kLongTime = 1;
    if (timeReader.u32() >> 24 != kLongTime) return std::nullopt;
    const std::uint64_t start = timeReader.u64();
    if (start > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
    run.start = static_cast<std::int64_t>(start);

    ByteReader reader(list->content);
    const std::uint32_t given = reader.u32();
    constexpr std::uint32_t kAlways = kDataOffsetPresent | kHasSizes;
    if ((given & ~(kHasDurations | kHasFlags)) != kAlways) return std::nullopt;
    const bool hasDurations = (given & kHasDurations) != 0;
    const bool hasFlags = (given & kHasFlags) != 0;
    if (hasDurations == ((common & kCommonDuration) != 0) || hasFlags == ((common & kCommonFlags) != 0)) {
        return std::nullopt;
    }
    const std::uint32_t count = reader.u32();
    run.offset = fragmentOffset + reader.u32();
    const std::size_t each = 4 + (hasDurations ? 4 : 0) + (hasFlags ? 4 : 0);
    if (headerReader.overran() || timeReader.overran() || reader.overran() || count == 0 ||
        count > reader.left() / each) {
        return std::nullopt;
    }
    run.samples.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (hasDurations) sample.duration = reader.u32();
        sample.size = reader.u32();
        if (hasFlags) sample.isKey = (reader.u32() & kIsNotSync) == 0;
        if (sample.duration == 0 || sample.size == 0) return std::nullopt;
        run.samples.push_back(sample);
    }
    return run;
}

// Whether the fragment's samples are in its own box.
bool liesIn(const FragmentRun& run, const FileBox& data) {
    std::uint64_t bytes = 0;
    for (const TrackSample& sample : run.samples) bytes += sample.size;
    return run.offset >= data.offset + data.headerSize && run.offset <= data.end() && bytes <= data.end() - run.offset;
}

TrackIndex* trackWith(std::vector<TrackIndex>& tracks, std::uint32_t id) {
    const auto found =
        std::find_if(tracks.begin(), tracks.end(), [id](const TrackIndex& track) { return track.header().id == id; });
    return found == tracks.end() ? nullptr : &*found;
}

// Adds the fragment at `offset`. False when there is no whole one, or it does not continue where the others ended.
bool addFragment(int file, std::uint64_t offset, std::uint64_t limit, FragmentedMovie& movie) {
    const auto index = fileBoxAt(file, offset, limit);
    if (!index || index->kind != fourCC("moof") || index->size > kMaxFragmentIndex) return false;
    const auto data = fileBoxAt(file, index->end(), limit);
    if (!data || data->kind != fourCC("mdat")) return false;
    std::vector<std::uint8_t> content(static_cast<std::size_t>(index->size - index->headerSize));
    if (!readExactly(file, offset + index->headerSize, content)) return false;
    const auto runs = parseFragment(content, offset);
    if (!runs) return false;
    std::size_t samples = 0;
    for (const TrackIndex& track : movie.tracks) samples += track.sampleCount();
    for (const FragmentRun& run : *runs) {
        samples += run.samples.size();
        const TrackIndex* const track = trackWith(movie.tracks, run.id);
        if (track == nullptr || !track->canAppend(run.start, run.samples.size()) || !liesIn(run, *data)) return false;
    }
    if (samples > kMaxSamples) return false;
    for (const FragmentRun& run : *runs) {
        trackWith(movie.tracks, run.id)->append(run.start, run.offset, run.samples);
    }
    movie.lastFragmentOffset = offset;
    movie.wholeEnd = data->end();
    ++movie.fragments;
    return true;
}

std::error_code systemError() {
    return {errno, std::generic_category()};
}

std::error_code cutOff(int file, std::uint64_t size) {
    while (::ftruncate(file, static_cast<off_t>(size)) != 0) {
        if (errno != EINTR) return systemError();
    }
    return {};
}

std::error_code waitForDisk(int file) {
    return ::fsync(file) == 0 ? std::error_code{} : systemError();
}

}  // namespace

std::vector<std::uint8_t> fragmentBytes(std::uint32_t number, std::span<const FragmentTrack> tracks) {
    BoxWriter boxes;
    std::vector<std::size_t> places;
    boxes.begin(fourCC("moof"));
    boxes.begin(fourCC("mfhd"), 0, 0);
    boxes.u32(number);
    boxes.end();
    for (const FragmentTrack& track : tracks) {
        places.push_back(track.samples.empty() ? 0 : writeTrack(boxes, track));
    }
    boxes.end();
    boxes.begin(fourCC("mdat"));
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        if (tracks[i].samples.empty()) continue;
        boxes.patch(places[i], static_cast<std::uint32_t>(boxes.size()));
        boxes.append(tracks[i].bytes);
    }
    boxes.end();
    return boxes.take();
}

std::optional<std::vector<FragmentRun>> parseFragment(std::span<const std::uint8_t> content, std::uint64_t offset) {
    std::vector<FragmentRun> runs;
    BoxReader reader(content);
    while (const auto box = reader.next()) {
        if (box->kind != fourCC("traf")) continue;
        auto run = parseTrack(box->content, offset);
        if (!run) return std::nullopt;
        const bool isTwice =
            std::any_of(runs.begin(), runs.end(), [&run](const FragmentRun& other) { return other.id == run->id; });
        if (isTwice) return std::nullopt;
        runs.push_back(std::move(*run));
    }
    if (runs.empty()) return std::nullopt;
    return runs;
}

std::optional<FragmentedMovie> scanFragments(int file, std::uint64_t limit) {
    const auto type = fileBoxAt(file, 0, limit);
    if (!type || type->kind != fourCC("ftyp") || type->size > kMaxHeader) return std::nullopt;
    const auto header = fileBoxAt(file, type->end(), limit);
    if (!header || header->kind != fourCC("moov") || header->size > kMaxHeader || header->headerSize != 8) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> content(static_cast<std::size_t>(header->size - header->headerSize));
    if (!readExactly(file, header->offset + header->headerSize, content)) return std::nullopt;
    const auto tracks = parseFragmentedHeader(content);
    if (!tracks) return std::nullopt;
    FragmentedMovie movie;
    movie.headerOffset = header->offset;
    movie.wholeEnd = header->end();
    for (const TrackHeader& track : *tracks) movie.tracks.emplace_back(track);
    while (addFragment(file, movie.wholeEnd, limit, movie)) {
    }
    return movie;
}

std::error_code finishInPlace(int file, const FragmentedMovie& movie) {
    const std::vector<std::uint8_t> index = finishedHeader(movie.tracks);
    if (const auto error = cutOff(file, movie.wholeEnd)) return error;
    std::error_code error = writeAllAt(file, movie.wholeEnd, index.data(), index.size()).error;
    if (!error) error = waitForDisk(file);
    if (error) {
        static_cast<void>(cutOff(file, movie.wholeEnd));  // only whole fragments, as many as there are
        return error;
    }
    // The header box and the fragments become one box of sample data. Its length takes 64 bits: the header of the first
    // box in the old header goes, too.
    constexpr std::uint32_t kLongSizeFollows = 1;
    BoxWriter data;
    data.u32(kLongSizeFollows);
    data.u32(fourCC("mdat"));
    data.u64(movie.wholeEnd - movie.headerOffset);
    const std::vector<std::uint8_t> bytes = data.take();
    if (const auto failed = writeAllAt(file, movie.headerOffset, bytes.data(), bytes.size()).error) return failed;
    return waitForDisk(file);
}

}  // namespace lumivastor::media
