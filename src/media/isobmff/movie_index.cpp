// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/isobmff/movie_index.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

#include "base/precondition.h"
#include "media/isobmff/movie_boxes.h"

namespace lumivastor::media {

namespace {

// QuickTime's fixed-point representations of one: for rates, scales and the volume.
constexpr std::uint32_t kOne = 1 << 16;
constexpr std::uint32_t kOneShort = 1 << 8;
constexpr std::uint32_t kUnspecifiedLanguage = 0x7fff;

// Movies with more tracks or a longer description are not ours.
constexpr std::size_t kMaxTracks = 16;
constexpr std::size_t kMaxDescription = 1 << 16;
// Times beyond this (a million years) could overflow in calculations.
constexpr std::int64_t kMaxTicks = std::int64_t{1} << 60;

// A clock on which every track's times are whole numbers, so that edit lists are exact; 48 kHz when there is none.
std::uint32_t movieTimescale(std::span<const TrackHeader> tracks) {
    constexpr std::uint64_t kDefault = 48000;
    std::uint64_t common = kDefault;
    for (const TrackHeader& track : tracks) {
        common = std::lcm(common, std::uint64_t{track.timescale});
        if (common > std::numeric_limits<std::int32_t>::max()) return kDefault;
    }
    return static_cast<std::uint32_t>(common);
}

std::uint64_t rescaled(std::int64_t ticks, std::uint32_t from, std::uint32_t to) {
    const MediaTime time{ticks, static_cast<std::int32_t>(from)};
    return static_cast<std::uint64_t>(time.rescaled(static_cast<std::int32_t>(to)).value);
}

void writeMatrix(BoxWriter& boxes) {
    constexpr std::uint32_t kUnit = 1U << 30;
    for (const std::uint32_t value : {kOne, 0U, 0U, 0U, kOne, 0U, 0U, 0U, kUnit}) boxes.u32(value);
}

void writeMovieHeader(BoxWriter& boxes, std::uint32_t timescale, std::uint64_t duration, std::uint32_t nextTrack) {
    boxes.begin(fourCC("mvhd"), 1, 0);
    boxes.u64(0);  // created and changed: not stated
    boxes.u64(0);
    boxes.u32(timescale);
    boxes.u64(duration);
    boxes.u32(kOne);
    boxes.u16(kOneShort);
    boxes.zeros(10);
    writeMatrix(boxes);
    boxes.zeros(6 * 4);  // preview, poster, selection
    boxes.u32(nextTrack);
    boxes.end();
}

void writeTrackHeader(BoxWriter& boxes, const TrackHeader& track, std::uint64_t duration) {
    constexpr std::uint32_t kEnabledInMovie = 3;
    boxes.begin(fourCC("tkhd"), 1, kEnabledInMovie);
    boxes.u64(0);
    boxes.u64(0);
    boxes.u32(track.id);
    boxes.u32(0);
    boxes.u64(duration);
    boxes.zeros(8);
    boxes.u16(0);  // layer
    boxes.u16(0);  // no alternative to another track
    boxes.u16(track.isVideo ? 0 : kOneShort);
    boxes.u16(0);
    writeMatrix(boxes);
    boxes.u32(static_cast<std::uint32_t>(track.width) << 16);
    boxes.u32(static_cast<std::uint32_t>(track.height) << 16);
    boxes.end();
}

void writeHandler(BoxWriter& boxes, const char (&type)[5], const char (&subtype)[5], std::string_view name) {
    boxes.begin(fourCC("hdlr"), 0, 0);
    boxes.u32(fourCC(type));
    boxes.u32(fourCC(subtype));
    boxes.zeros(12);
    boxes.u8(static_cast<std::uint32_t>(name.size()));
    boxes.append(name);
    boxes.end();
}

struct Edit {
    std::uint64_t duration;   // in the movie's time
    std::int64_t mediaStart;  // in the track's; -1 shows nothing
};

void writeEdits(BoxWriter& boxes, std::span<const Edit> edits) {
    boxes.begin(fourCC("edts"));
    boxes.begin(fourCC("elst"), 1, 0);
    boxes.u32(static_cast<std::uint32_t>(edits.size()));
    for (const Edit& edit : edits) {
        boxes.u64(edit.duration);
        boxes.u64(static_cast<std::uint64_t>(edit.mediaStart));
        boxes.u32(kOne);
    }
    boxes.end();
    boxes.end();
}

// The part of "minf" with the kind of the track, and the statement that its samples are in this file.
void writeMediaKind(BoxWriter& boxes, bool isVideo) {
    if (isVideo) {
        boxes.begin(fourCC("vmhd"), 0, 1);
        boxes.zeros(8);
    } else {
        boxes.begin(fourCC("smhd"), 0, 0);
        boxes.zeros(4);
    }
    boxes.end();
    writeHandler(boxes, "dhlr", "url ", "DataHandler");
    boxes.begin(fourCC("dinf"));
    boxes.begin(fourCC("dref"), 0, 0);
    boxes.u32(1);
    boxes.begin(fourCC("url "), 0, 1);
    boxes.end();
    boxes.end();
    boxes.end();
}

}  // namespace

// How long the last sample lasts if the next begins at `start`.
std::int64_t TrackIndex::lastDurationUntil(std::int64_t start) const {
    return std::int64_t{samples_.back().duration} + start - end_;
}

bool TrackIndex::canAppend(std::int64_t start, std::size_t count) const {
    constexpr std::size_t kMaxSamples = std::numeric_limits<std::uint32_t>::max();
    if (start < 0 || start > kMaxTicks || count > kMaxSamples - samples_.size()) return false;
    if (samples_.empty()) return true;
    const std::int64_t duration = lastDurationUntil(start);
    return duration >= 1 && duration <= std::numeric_limits<std::uint32_t>::max();
}

void TrackIndex::append(std::int64_t start, std::uint64_t offset, std::span<const TrackSample> samples) {
    precondition(!samples.empty() && canAppend(start, samples.size()), "samples that follow the last");
    if (samples_.empty()) {
        first_ = start;
    } else {
        samples_.back().duration = static_cast<std::uint32_t>(lastDurationUntil(start));
    }
    end_ = start;
    chunks_.push_back({offset, static_cast<std::uint32_t>(samples_.size())});
    for (const TrackSample& sample : samples) {
        if (sample.isKey) keys_.push_back(static_cast<std::uint32_t>(samples_.size()));
        samples_.push_back({sample.size, sample.duration});
        end_ += sample.duration;
    }
}

void TrackIndex::endAt(const MediaTime& end) {
    if (samples_.empty()) return;
    const std::int64_t ticks = end.rescaled(static_cast<std::int32_t>(header_.timescale)).value + header_.encoderDelay;
    std::int64_t lastStart = end_ - samples_.back().duration;
    if (!header_.isVideo) {
        if (ticks >= end_) return;
        while (lastStart >= ticks && samples_.size() > 1) {
            if (keys_.back() == samples_.size() - 1) keys_.pop_back();
            samples_.pop_back();
            if (chunks_.back().firstSample == samples_.size()) chunks_.pop_back();
            end_ = lastStart;
            lastStart -= samples_.back().duration;
        }
    }
    const auto duration = std::clamp<std::int64_t>(ticks - lastStart, 1, std::numeric_limits<std::uint32_t>::max());
    samples_.back().duration = static_cast<std::uint32_t>(duration);
    end_ = lastStart + duration;
}

double TrackIndex::endSeconds() const {
    return static_cast<double>(end_ - header_.encoderDelay) / header_.timescale;
}

// Writes the boxes of one track, with or without its index.
class TrackBoxes {
  public:
    TrackBoxes(BoxWriter& boxes, const TrackHeader& track, const TrackIndex* index, std::uint32_t movieTimescale)
        : boxes_(boxes), track_(track), index_(index), movieTimescale_(movieTimescale) {}

    void write() {
        boxes_.begin(fourCC("trak"));
        writeTrackHeader(boxes_, track_, index_ != nullptr ? movieDuration(*index_, movieTimescale_) : 0);
        writeTrackEdits();
        boxes_.begin(fourCC("mdia"));
        writeMediaHeader();
        const char(&kind)[5] = track_.isVideo ? "vide" : "soun";
        writeHandler(boxes_, "mhlr", kind, track_.isVideo ? "VideoHandler" : "SoundHandler");
        boxes_.begin(fourCC("minf"));
        writeMediaKind(boxes_, track_.isVideo);
        boxes_.begin(fourCC("stbl"));
        boxes_.append(track_.sampleDescription);
        writeDurations();
        writeKeys();
        writeChunks();
        writeSizes();
        boxes_.end();
        boxes_.end();
        boxes_.end();
        boxes_.end();
    }

    static std::uint64_t movieDuration(const TrackIndex& index, std::uint32_t movieTimescale) {
        return rescaled(index.end_ - index.header_.encoderDelay, index.header_.timescale, movieTimescale);
    }

  private:
    // The time before the first sample is empty; the encoder delay is not played.
    void writeTrackEdits() {
        std::vector<Edit> edits;
        if (index_ != nullptr) {
            const std::uint64_t gap = rescaled(index_->first_, track_.timescale, movieTimescale_);
            if (gap > 0) edits.push_back({gap, -1});
            edits.push_back({movieDuration(*index_, movieTimescale_) - gap, track_.encoderDelay});
        } else if (track_.encoderDelay > 0) {
            edits.push_back({0, track_.encoderDelay});  // as long as there are fragments
        }
        if (!edits.empty()) writeEdits(boxes_, edits);
    }

    void writeMediaHeader() {
        boxes_.begin(fourCC("mdhd"), 1, 0);
        boxes_.u64(0);
        boxes_.u64(0);
        boxes_.u32(track_.timescale);
        boxes_.u64(index_ != nullptr ? static_cast<std::uint64_t>(index_->end_ - index_->first_) : 0);
        boxes_.u16(kUnspecifiedLanguage);
        boxes_.u16(0);
        boxes_.end();
    }

    // Runs of samples that last equally long.
    void writeDurations() {
        boxes_.begin(fourCC("stts"), 0, 0);
        const std::size_t count = boxes_.size();
        std::uint32_t runs = 0;
        boxes_.u32(0);
        const std::size_t samples = index_ != nullptr ? index_->samples_.size() : 0;
        for (std::size_t i = 0; i < samples; ++runs) {
            const std::uint32_t duration = index_->samples_[i].duration;
            const std::size_t first = i;
            while (i < samples && index_->samples_[i].duration == duration) ++i;
            boxes_.u32(static_cast<std::uint32_t>(i - first));
            boxes_.u32(duration);
        }
        boxes_.patch(count, runs);
        boxes_.end();
    }

    void writeKeys() {
        if (index_ == nullptr || index_->keys_.size() == index_->samples_.size()) return;  // absent: all are keys
        boxes_.begin(fourCC("stss"), 0, 0);
        boxes_.u32(static_cast<std::uint32_t>(index_->keys_.size()));
        for (const std::uint32_t key : index_->keys_) boxes_.u32(key + 1);
        boxes_.end();
    }

    void writeChunks() {
        boxes_.begin(fourCC("stsc"), 0, 0);
        const std::size_t count = boxes_.size();
        std::uint32_t runs = 0;
        boxes_.u32(0);
        const std::size_t chunks = index_ != nullptr ? index_->chunks_.size() : 0;
        std::uint32_t before = 0;
        for (std::size_t i = 0; i < chunks; ++i) {
            const std::size_t next = i + 1 < chunks ? index_->chunks_[i + 1].firstSample : index_->samples_.size();
            const auto samples = static_cast<std::uint32_t>(next - index_->chunks_[i].firstSample);
            if (samples == before) continue;
            boxes_.u32(static_cast<std::uint32_t>(i + 1));
            boxes_.u32(samples);
            boxes_.u32(1);  // the one sample description
            before = samples;
            ++runs;
        }
        boxes_.patch(count, runs);
        boxes_.end();
        boxes_.begin(fourCC("co64"), 0, 0);
        boxes_.u32(static_cast<std::uint32_t>(chunks));
        for (std::size_t i = 0; i < chunks; ++i) boxes_.u64(index_->chunks_[i].offset);
        boxes_.end();
    }

    void writeSizes() {
        boxes_.begin(fourCC("stsz"), 0, 0);
        boxes_.u32(0);  // each has its own
        boxes_.u32(index_ != nullptr ? static_cast<std::uint32_t>(index_->samples_.size()) : 0);
        if (index_ != nullptr) {
            for (const TrackIndex::Sample& sample : index_->samples_) boxes_.u32(sample.size);
        }
        boxes_.end();
    }

    BoxWriter& boxes_;
    const TrackHeader& track_;
    const TrackIndex* index_;
    std::uint32_t movieTimescale_;
};

std::vector<std::uint8_t> fragmentedBeginning(std::span<const TrackHeader> tracks) {
    precondition(!tracks.empty() && tracks.size() <= kMaxTracks, "a movie of some tracks");
    BoxWriter boxes;
    boxes.begin(fourCC("ftyp"));
    boxes.u32(fourCC("qt  "));
    boxes.u32(0x200);
    boxes.u32(fourCC("qt  "));
    boxes.end();
    boxes.begin(fourCC("moov"));
    const std::uint32_t timescale = movieTimescale(tracks);
    writeMovieHeader(boxes, timescale, 0, tracks.back().id + 1);
    for (const TrackHeader& track : tracks) TrackBoxes(boxes, track, nullptr, timescale).write();
    boxes.begin(fourCC("mvex"));
    for (const TrackHeader& track : tracks) {
        boxes.begin(fourCC("trex"), 0, 0);
        boxes.u32(track.id);
        boxes.u32(1);     // the one sample description
        boxes.zeros(12);  // fragments say everything themselves
        boxes.end();
    }
    boxes.end();
    boxes.end();
    return boxes.take();
}

namespace {

std::optional<TrackHeader> parseTrack(std::span<const std::uint8_t> content) {
    const auto header = findBox(content, fourCC("tkhd"));
    const auto media = findBox(content, fourCC("mdia"));
    if (!header || !media) return std::nullopt;
    const auto mediaHeader = findBox(media->content, fourCC("mdhd"));
    const auto handler = findBox(media->content, fourCC("hdlr"));
    const auto information = findBox(media->content, fourCC("minf"));
    if (!mediaHeader || !handler || !information) return std::nullopt;
    const auto table = findBox(information->content, fourCC("stbl"));
    if (!table) return std::nullopt;
    const auto description = findBox(table->content, fourCC("stsd"));
    if (!description || description->whole.size() > kMaxDescription) return std::nullopt;

    TrackHeader track;
    constexpr std::uint32_t kLongTimes = 1;  // the version
    ByteReader reader(header->content);
    if (reader.u32() >> 24 != kLongTimes) return std::nullopt;
    reader.skip(16);
    track.id = reader.u32();
    reader.skip(4 + 8 + 8 + 4 + 4 + 36);
    track.width = static_cast<int>(reader.u32() >> 16);
    track.height = static_cast<int>(reader.u32() >> 16);
    ByteReader mediaReader(mediaHeader->content);
    if (mediaReader.u32() >> 24 != kLongTimes) return std::nullopt;
    mediaReader.skip(16);
    track.timescale = mediaReader.u32();
    ByteReader handlerReader(handler->content);
    handlerReader.skip(8);
    const std::uint32_t kind = handlerReader.u32();
    track.isVideo = kind == fourCC("vide");
    if (reader.overran() || mediaReader.overran() || (!track.isVideo && kind != fourCC("soun"))) return std::nullopt;
    if (track.timescale == 0 || track.timescale > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
    if (const auto edits = findBox(content, fourCC("edts"))) {
        const auto list = findBox(edits->content, fourCC("elst"));
        if (!list) return std::nullopt;
        ByteReader editReader(list->content);
        const bool isLong = editReader.u32() >> 24 == kLongTimes;
        const bool isOne = editReader.u32() == 1;
        editReader.skip(8);
        const std::uint64_t delay = editReader.u64();
        if (!isLong || !isOne || delay > std::numeric_limits<std::int32_t>::max() || editReader.overran()) {
            return std::nullopt;
        }
        track.encoderDelay = static_cast<std::uint32_t>(delay);
    }
    track.sampleDescription.assign(description->whole.begin(), description->whole.end());
    return track;
}

}  // namespace

std::optional<std::vector<TrackHeader>> parseFragmentedHeader(std::span<const std::uint8_t> content) {
    if (!findBox(content, fourCC("mvex"))) return std::nullopt;
    std::vector<TrackHeader> tracks;
    BoxReader reader(content);
    while (const auto box = reader.next()) {
        if (box->kind != fourCC("trak")) continue;
        auto track = parseTrack(box->content);
        if (!track || tracks.size() == kMaxTracks) return std::nullopt;
        const bool isKnown = std::any_of(tracks.begin(), tracks.end(),
                                         [&track](const TrackHeader& other) { return other.id == track->id; });
        if (isKnown) return std::nullopt;
        tracks.push_back(std::move(*track));
    }
    if (tracks.empty()) return std::nullopt;
    return tracks;
}

std::vector<std::uint8_t> finishedHeader(std::span<const TrackIndex> tracks) {
    std::vector<TrackHeader> headers;
    for (const TrackIndex& track : tracks) headers.push_back(track.header());
    const std::uint32_t timescale = movieTimescale(headers);
    std::uint64_t duration = 0;
    std::uint32_t nextTrack = 1;
    for (const TrackIndex& track : tracks) {
        nextTrack = std::max(nextTrack, track.header().id + 1);
        if (!track.isEmpty()) duration = std::max(duration, TrackBoxes::movieDuration(track, timescale));
    }
    BoxWriter boxes;
    boxes.begin(fourCC("moov"));
    writeMovieHeader(boxes, timescale, duration, nextTrack);
    for (const TrackIndex& track : tracks) {
        if (!track.isEmpty()) TrackBoxes(boxes, track.header(), &track, timescale).write();
    }
    boxes.end();
    return boxes.take();
}

}  // namespace lumivastor::media
