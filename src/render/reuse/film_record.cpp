// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/reuse/film_record.h"

#include <fcntl.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include "base/descriptor_io.h"
#include "base/recorder_error.h"
#include "imaging/content_hash.h"

namespace lumivastor::render {

namespace {

constexpr std::string_view kFilmHeader = "lumivastor-film 1";
constexpr std::string_view kSound = "sound ";
// What a picture or packet of sound has at most.
constexpr int kLargestSample = 256 << 20;

std::string_view nextLine(std::string_view& text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

bool parseSound(std::string_view line, FilmRecord& record) {
    line.remove_prefix(kSound.size());
    const std::size_t space = line.find(' ');
    if (space == std::string_view::npos) return false;
    record.sound = imaging::ContentHash::parse(line.substr(0, space));
    const auto checksum = imaging::ContentHash::parse(line.substr(space + 1));
    if (!record.sound || !checksum) return false;
    record.soundChecksum = *checksum;
    return true;
}

bool readSample(int file, const media::IndexedSample& sample, std::vector<std::uint8_t>& bytes) {
    if (sample.bytes <= 0 || sample.bytes > kLargestSample || sample.offset < 0) return false;
    const std::size_t at = bytes.size();
    const auto size = static_cast<std::size_t>(sample.bytes);
    bytes.resize(at + size);
    return readAllAt(file, static_cast<std::uint64_t>(sample.offset), bytes.data() + at, size).count == size;
}

}  // namespace

std::string textOf(const FilmRecord& record) {
    std::string text(kFilmHeader);
    text += '\n';
    if (record.sound) {
        text += std::string(kSound) + record.sound->text() + ' ' + record.soundChecksum.text() + '\n';
    }
    for (const GroupRecord& group : record.groups) text += lineOf(group) + '\n';
    return text;
}

std::optional<FilmRecord> parseFilmRecord(std::string_view text) {
    // A record that ends within a line is not whole.
    if (!text.ends_with('\n') || nextLine(text) != kFilmHeader) return std::nullopt;
    FilmRecord record;
    while (!text.empty()) {
        const std::string_view line = nextLine(text);
        if (line.starts_with(kSound)) {
            if (!parseSound(line, record)) return std::nullopt;
            continue;
        }
        auto group = parseRecord(line);
        if (!group) return std::nullopt;
        record.groups.push_back(*group);
    }
    return record;
}

std::optional<RecordedFilm> RecordedFilm::open(const std::filesystem::path& film, FilmRecord record) {
    RecordedFilm opened;
    opened.file_ = UniqueDescriptor(::open(film.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!opened.file_.isOpen()) return std::nullopt;
    try {
        opened.asset_ = std::make_shared<const media::Asset>(film);
        const auto videos = opened.asset_->tracks(media::TrackKind::video);
        if (videos.size() != 1) return std::nullopt;
        opened.samples_ = media::sampleIndex(*opened.asset_, videos.front().id);
    } catch (const RecorderError&) {
        return std::nullopt;
    }
    std::size_t pictures = 0;
    for (const GroupRecord& group : record.groups) {
        opened.firstSamples_.push_back(pictures);
        pictures += group.pictures;
    }
    if (pictures != opened.samples_.size()) return std::nullopt;
    opened.record_ = std::move(record);
    return opened;
}

std::optional<media::CodedGroup> RecordedFilm::group(std::size_t index) const {
    const GroupRecord& record = record_.groups[index];
    media::CodedGroup group;
    group.carry = record.end;
    for (std::size_t i = 0; i < record.pictures; ++i) {
        const media::IndexedSample& sample = samples_[firstSamples_[index] + i];
        if (group.bytes.size() > record.bytes || !readSample(file_.get(), sample, group.bytes)) return std::nullopt;
        group.sizes.push_back(static_cast<std::uint32_t>(sample.bytes));
    }
    if (checksumOf(group) != record.checksum || !media::isWellFormed(group)) return std::nullopt;
    return group;
}

std::optional<int> RecordedFilm::soundTrack() const {
    const auto sounds = asset_->tracks(media::TrackKind::audio);
    if (!record_.sound || sounds.size() != 1) return std::nullopt;
    try {
        if (checksumOfSamples(*asset_, sounds.front().id) != record_.soundChecksum) return std::nullopt;
    } catch (const RecorderError&) {
        return std::nullopt;
    }
    return sounds.front().id;
}

imaging::ContentHash checksumOfSamples(const media::Asset& movie, int trackId) {
    const UniqueDescriptor file(::open(movie.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const RecorderError unreadable(movie.path().filename().string() + " konnte nicht gelesen werden.");
    if (!file.isOpen()) throw RecorderError(unreadable);
    imaging::ContentHasher hasher;
    std::vector<std::uint8_t> bytes;
    for (const media::IndexedSample& sample : media::sampleIndex(movie, trackId)) {
        bytes.clear();
        if (!readSample(file.get(), sample, bytes)) throw RecorderError(unreadable);
        hasher.addNumber(sample.decodeTime.value);
        hasher.addNumber(sample.decodeTime.timescale);
        hasher.addNumber(bytes.size());
        hasher.add(bytes.data(), bytes.size());
    }
    return hasher.value();
}

}  // namespace lumivastor::render
