// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "capture/pointer/pointer_records.h"
#include "model/capture_geometry.h"
#include "model/capture_info.h"

// The journal of a running recording: what its documents will say, written down while it happens, so that a recording
// whose process was ended can be completed. docs/decisions/0003-journal.md describes the format. This header is its
// plain half: records as lines, and reading them back.

namespace lumivastor::capture {

inline constexpr const char* kJournalName = "journal";

/// Counters that only the running recorder knows.
struct JournalCounts {
    std::int64_t framesSkippedIdle = 0;
    std::int64_t framesDropped = 0;
    std::int64_t missingCursorPolls = 0;

    bool operator==(const JournalCounts&) const = default;
};

/// One line each, with checksum and line feed.
namespace journalLine {
/// A line of any content.
std::string checked(std::string_view payload);
std::string header();
/// What of the capture document is known when a recording starts, and its geometry.
std::string start(const model::CaptureInfo& info, const model::Geometry& geometry);
std::string session(double t0Host, double t0Media);
std::string webcam(double firstPicture);
std::string event(const RawEvent& event);
std::string shape(const model::CursorImage& image);
std::string cursorChange(const RawCursorChange& change);
std::string window(const WindowSample& sample);
std::string display(const DisplaySample& sample);
std::string counts(const JournalCounts& counts);
}  // namespace journalLine

/// What a journal holds.
struct JournalContent {
    model::CaptureInfo info;  // as far as `start` knew it
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
    /// Lines that were torn or damaged and left out.
    std::int64_t damagedLines = 0;

    bool operator==(const JournalContent&) const = default;
};

/// Journals are untrusted. Lines whose checksum is wrong are left out: a torn last one is what an ended process leaves.
/// Throws `RecorderError` when there is no whole header or start record, or when a line that is whole says what no
/// recorder writes.
JournalContent parseJournal(std::string_view text);

/// Reads a recording folder's journal. Throws `RecorderError`, also when it cannot be read.
JournalContent loadJournal(const std::filesystem::path& folder);

}  // namespace lumivastor::capture
