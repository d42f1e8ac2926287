// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/library/recording_entry.h"

// Which recordings the list shows, and in which order. Functions of values.

namespace lumivastor::app {

/// How umlauts are written without them.
enum class Umlauts {
    plain,   // "Übung" as "ubung"
    spelled  // "Übung" as "uebung"
};

/// A UTF-8 text in small letters without accents, for comparisons.
std::string foldedText(std::string_view text, Umlauts umlauts);

/// Whether all words of the query, separated by spaces, occur in the recording's name or date. Case and accents do not
/// matter; "ä" is found as "a" and as "ae". An empty query matches everything.
bool matchesQuery(const RecordingEntry& entry, std::string_view query);

enum class RecordingOrder {
    newestFirst,
    oldestFirst,
    nameAscending,
    nameDescending,
    longestFirst,
    shortestFirst,
    largestFirst,
    smallestFirst
};

/// A name for preferences, and the order of a name; the first order for any other text.
std::string_view recordingOrderName(RecordingOrder order);
RecordingOrder recordingOrderNamed(std::string_view name);

/// The entries that match, in this order. What has no value for the order comes last; equal ones are in the order of
/// their names. Numbers within names count as numbers: "Lektion 2" is before "Lektion 10".
std::vector<RecordingEntry> shownRecordings(const std::vector<RecordingEntry>& all, std::string_view query,
                                            RecordingOrder order);

}  // namespace lumivastor::app
