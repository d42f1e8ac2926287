// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "render/overview/overview_cache.h"
#include "render/reuse/film_record.h"
#include "render/reuse/kept_groups.h"

namespace lumivastor::render {

/// The coded groups that there are of a recording: in its films, and kept from exports that did not end. A cache:
/// failures are no errors, and deleting its folder costs time only. One thread at a time.
class GroupStore {
  public:
    struct Options {
        /// Where records and kept groups lie; created when there is something to write. Empty: nothing is found or
        /// kept.
        std::filesystem::path folder;
        /// Of the recording's movie, which names the file of kept groups; nullopt: nothing is kept.
        std::optional<std::uint64_t> recording;
        /// Films that may have been made of the recording, the likeliest first.
        std::vector<std::filesystem::path> films;
        CacheLimits limits = {4ULL << 30, 30.0 * 24 * 3600};
    };

    explicit GroupStore(Options options);

    bool isEmpty() const { return places_.empty(); }

    /// Whether there is a group of this content, whatever it began with.
    bool hasContent(const imaging::ContentHash& content) const { return places_.contains(content); }
    std::optional<media::CodedGroup> find(const GroupKey& key) const;

    /// A film's sound that was made in this way, and its track.
    struct Sound {
        std::shared_ptr<const media::Asset> film;
        int trackId = 0;
    };
    std::optional<Sound> findSound(const imaging::ContentHash& sound) const;

    /// Keeps a group until a film has it.
    void keep(const GroupKey& key, const media::CodedGroup& group) { kept_.keep(key, group); }
    /// Whether that has an effect: no other program does so for this recording, and the disk has room.
    bool mayKeep() { return kept_.mayKeep(); }

    /// Deletes what was used longest ago of all recordings until the rest is within the limits.
    void keepLimits() const;

    /// A film is in its place: remembers what it is made of, and forgets what was kept for it. `groups` are all of it;
    /// `sound` tells how its sound was made, if that is known.
    void filmIsFinished(const std::filesystem::path& film, std::vector<GroupRecord> groups,
                        const std::optional<imaging::ContentHash>& sound);

  private:
    struct Place {
        std::size_t film = 0;   // in films_; behind them: kept
        std::size_t index = 0;  // of the group there
    };

    void addPlaces();
    std::filesystem::path recordFile(std::uint64_t film) const;

    const Options options_;
    KeptGroups kept_;
    std::vector<RecordedFilm> films_;
    std::multimap<imaging::ContentHash, Place> places_;
};

}  // namespace lumivastor::render
