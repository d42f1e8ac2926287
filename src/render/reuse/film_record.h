// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/unique_descriptor.h"
#include "media/reading/asset.h"
#include "media/reading/key_pictures.h"
#include "render/reuse/group_record.h"

namespace lumivastor::render {

/// What the parts of a finished film are made of.
struct FilmRecord {
    /// Its groups in order, all of them.
    std::vector<GroupRecord> groups;
    /// Its sound, if it has some whose making is known; and the checksum of its samples.
    std::optional<imaging::ContentHash> sound;
    imaging::ContentHash soundChecksum;

    bool operator==(const FilmRecord&) const = default;
};

std::string textOf(const FilmRecord& record);
/// nullopt for anything else.
std::optional<FilmRecord> parseFilmRecord(std::string_view text);

/// A finished film and its record, to take parts from. The film's bytes count: what does not match the record is not
/// there. One thread at a time.
class RecordedFilm {
  public:
    /// nullopt when the film cannot be read, or has other pictures than the record says.
    static std::optional<RecordedFilm> open(const std::filesystem::path& film, FilmRecord record);

    const FilmRecord& record() const { return record_; }
    /// The film; sound is read from it as from every movie.
    const std::shared_ptr<const media::Asset>& asset() const { return asset_; }

    /// Group number `index` of the record; nullopt when its bytes are others.
    std::optional<media::CodedGroup> group(std::size_t index) const;

    /// The track of the recorded sound; nullopt when its samples are others.
    std::optional<int> soundTrack() const;

  private:
    RecordedFilm() = default;

    FilmRecord record_;
    std::shared_ptr<const media::Asset> asset_;
    UniqueDescriptor file_;
    std::vector<media::IndexedSample> samples_;  // pictures
    std::vector<std::size_t> firstSamples_;      // of each group
};

/// The checksum of a track's samples in their order. Throws `RecorderError` when the movie cannot be read.
imaging::ContentHash checksumOfSamples(const media::Asset& movie, int trackId);

}  // namespace lumivastor::render
