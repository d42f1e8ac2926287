// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/reuse/group_store.h"

#include <algorithm>
#include <array>
#include <string>
#include <system_error>
#include <utility>

#include "base/file_bytes.h"
#include "base/file_replacement.h"
#include "base/formatted.h"
#include "base/log.h"
#include "base/private_folder.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"

namespace lumivastor::render {

namespace fs = std::filesystem;

namespace {

constexpr const char* kRecordExtension = ".film";
constexpr const char* kKeptExtension = ".groups";
// An hour's record has half a megabyte.
constexpr std::uint64_t kLargestRecord = 64U << 20;

std::string nameOf(std::uint64_t movie) {
    return formatted("%016llx", static_cast<unsigned long long>(movie));
}

fs::path keptFile(const GroupStore::Options& options) {
    if (options.folder.empty() || !options.recording) return {};
    return options.folder / (nameOf(*options.recording) + kKeptExtension);
}

void markUsed(const fs::path& file) {
    std::error_code ignored;
    fs::last_write_time(file, fs::file_time_type::clock::now(), ignored);
}

}  // namespace

GroupStore::GroupStore(Options options) : options_(std::move(options)), kept_(keptFile(options_)) {
    if (options_.folder.empty()) return;
    for (const fs::path& film : options_.films) {
        const std::optional<std::uint64_t> identity = movieIdentity(film);
        if (!identity) continue;
        const fs::path file = recordFile(*identity);
        std::error_code error;
        const FileBytes bytes = readFile(file, kLargestRecord, error);
        if (error) continue;
        auto record = parseFilmRecord(bytes.text());
        if (!record) continue;
        auto opened = RecordedFilm::open(film, std::move(*record));
        if (!opened) continue;
        markUsed(file);
        films_.push_back(std::move(*opened));
    }
    addPlaces();
}

void GroupStore::addPlaces() {
    for (std::size_t film = 0; film < films_.size(); ++film) {
        const auto& groups = films_[film].record().groups;
        for (std::size_t i = 0; i < groups.size(); ++i) places_.emplace(groups[i].key.content, Place{film, i});
    }
    const auto& kept = kept_.places();
    for (std::size_t i = 0; i < kept.size(); ++i) {
        places_.emplace(kept[i].record.key.content, Place{films_.size(), i});
    }
}

std::optional<media::CodedGroup> GroupStore::find(const GroupKey& key) const {
    const auto [from, to] = places_.equal_range(key.content);
    for (auto each = from; each != to; ++each) {
        const Place& place = each->second;
        std::optional<media::CodedGroup> group;
        if (place.film < films_.size()) {
            if (films_[place.film].record().groups[place.index].key == key)
                group = films_[place.film].group(place.index);
        } else if (place.index < kept_.places().size() && kept_.places()[place.index].record.key == key) {
            group = kept_.read(kept_.places()[place.index]);
        }
        if (group) return group;
    }
    return std::nullopt;
}

std::optional<GroupStore::Sound> GroupStore::findSound(const imaging::ContentHash& sound) const {
    for (const RecordedFilm& film : films_) {
        if (film.record().sound != sound) continue;
        if (const auto track = film.soundTrack()) return Sound{film.asset(), *track};
    }
    return std::nullopt;
}

void GroupStore::filmIsFinished(const fs::path& film, std::vector<GroupRecord> groups,
                                const std::optional<imaging::ContentHash>& sound) {
    if (options_.folder.empty()) return;
    const std::optional<std::uint64_t> identity = movieIdentity(film);
    if (!identity) return;
    FilmRecord record;
    record.groups = std::move(groups);
    std::error_code error;
    try {
        const media::Asset asset(film);
        const auto sounds = asset.tracks(media::TrackKind::audio);
        if (sound && sounds.size() == 1) {
            record.sound = sound;
            record.soundChecksum = checksumOfSamples(asset, sounds.front().id);
        }
        makePrivateFolder(options_.folder, error);
        if (!error) error = replaceFile(recordFile(*identity), textOf(record), Durability::later);
    } catch (const RecorderError& failure) {
        Log::write("Studio", "Woraus der Film besteht, ist nicht gemerkt: " + failure.message());
        return;
    }
    if (error) {
        Log::write("Studio", "Woraus der Film besteht, ist nicht gemerkt: " + systemErrorText(error));
        return;
    }
    kept_.clear();
    keepLimits();
}

fs::path GroupStore::recordFile(std::uint64_t film) const {
    return options_.folder / (nameOf(film) + kRecordExtension);
}

void GroupStore::keepLimits() const {
    keepWithinLimits(options_.folder, std::array<std::string, 2>{kRecordExtension, kKeptExtension}, options_.limits);
}

}  // namespace lumivastor::render
