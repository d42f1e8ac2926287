// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/pauses/pauses.h"
#include "capture/pointer/pointer_records.h"
#include "model/capture_geometry.h"
#include "model/capture_info.h"

// The journal of a running recording stores the content of its documents as it is produced, so that a recording whose
// process ended can be completed. docs/decisions/0003-journal.md describes the format. This header formats records as
// lines and parses them; it opens files only in `loadJournal`.

namespace lumivastor::capture {

inline constexpr const char* kJournalName = "journal";

/// Counters that only the running recorder has.
struct JournalCounts {
    std::int64_t framesSkippedIdle = 0;
    std::int64_t framesDropped = 0;
    std::int64_t missingCursorPolls = 0;

    bool operator==(const JournalCounts&) const = default;
};

/// Each returns one line, with checksum and line feed.
namespace journalLine {
/// A line with any payload.
std::string checked(std::string_view payload);
std::string header();
/// The part of the capture document that is known at the start, and the geometry.
std::string start(const model::CaptureInfo& info, const model::Geometry& geometry);
std::string session(double t0Host, double t0Media);
std::string webcam(double firstPicture);
std::string pointer(model::KnownPointer known);
std::string event(const RawEvent& event);
std::string shape(const model::CursorImage& image);
std::string cursorChange(const RawCursorChange& change);
std::string window(const WindowSample& sample);
std::string display(const DisplaySample& sample);
std::string counts(const JournalCounts& counts);
/// A pause begins, or, if the pause tells its end, has ended.
std::string pause(const Pause& pause);
std::string mark(double hostSeconds);
}  // namespace journalLine

/// The parsed content of a journal.
struct JournalContent {
    model::CaptureInfo info;  // the part that `start` and `pointer` recorded
    model::Geometry geometry;
    struct Session {
        double t0Host = 0;
        double t0Media = 0;

        bool operator==(const Session&) const = default;
    };
    std::optional<Session> session;
    std::optional<double> webcamFirstPicture;
    RawPointerTrack pointer;
    WindowTrack windowTrack;
    DisplayTrack displayTrack;
    JournalCounts counts;
    Pauses pauses;
    std::vector<double> marks;  // host seconds
    /// The number of torn or damaged lines, which are skipped.
    std::int64_t damagedLines = 0;

    bool operator==(const JournalContent&) const = default;
};

/// Journals are untrusted. Skips lines with a wrong checksum; an ended process leaves a torn last line. Throws
/// `RecorderError` without an intact header and start record, and for an intact line that no recorder writes.
JournalContent parseJournal(std::string_view text);

/// Reads and parses a recording folder's journal. Throws as `parseJournal`, and when the file cannot be read.
JournalContent loadJournal(const std::filesystem::path& folder);

}  // namespace lumivastor::capture
