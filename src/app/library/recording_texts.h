// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "app/library/recording_entry.h"

// What the list of recordings says, in German. Functions of values; dates are in local time.

namespace lumivastor::app {

/// "14.03.2025, 09:05"
std::string dateText(std::time_t time);
/// What a search finds of a date: as it is shown, as folders are named, with its month and its weekday.
std::string searchedDate(std::time_t time);
/// "0:07", "12:34", "1:02:03"
std::string lengthText(double seconds);

enum class BadgeKind { neutral, good, active, warning, fault };

/// What a recording is, in a word or two.
struct Badge {
    BadgeKind kind = BadgeKind::neutral;
    std::string text;

    bool operator==(const Badge&) const = default;
};
std::vector<Badge> badgesOf(const RecordingEntry& entry);

/// The line below the name: why it is damaged, or what was recorded; for recordings outside of `root` where they are.
std::string detailText(const RecordingEntry& entry, const std::filesystem::path& root);

/// All of it in one sentence, for assistive programs.
std::string spokenText(const RecordingEntry& entry);

/// "12 Aufnahmen, 3,4 GB"; with a query, "2 von 12 Aufnahmen".
std::string countText(const std::vector<RecordingEntry>& all, std::size_t shown);
/// "3 Aufnahmen ausgewählt, 1,2 GB"; without the size until it is known of all.
std::string selectionText(const std::vector<RecordingEntry>& selected);

}  // namespace lumivastor::app
