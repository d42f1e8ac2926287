// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>

namespace lumivastor::app {

enum class RecordingState {
    complete,
    inProgress,   // a living process holds its journal
    interrupted,  // its process has ended and left the journal
    damaged,      // cannot be edited; `fault` says why
};

/// One recording, as the list of recordings shows it.
struct RecordingEntry {
    std::filesystem::path folder;
    RecordingState state = RecordingState::complete;
    /// A German sentence; empty unless damaged.
    std::string fault;
    /// When it ended; without a capture document when its folder was begun. UTC seconds.
    std::optional<std::time_t> createdAt;
    /// Seconds.
    std::optional<double> duration;
    /// What was recorded: "Bildschirm", "Fenster „Terminal“"; empty when that is not known.
    std::string source;
    bool hasMovie = false;
    bool isEdited = false;
    /// The time of the newest film in the folder.
    std::optional<std::time_t> renderedAt;
    /// A film of it is being made, or waits to be, by this program or another one.
    bool isBeingRendered = false;
    /// This program completes it after an interruption.
    bool isBeingCompleted = false;
    /// On the disk; nullopt until they are counted.
    std::optional<std::uint64_t> bytes;

    /// Changes whenever folder or movie do, so that what was derived from them is derived again.
    struct Stamp {
        std::int64_t folderTime = 0;
        std::int64_t movieTime = 0;
        std::int64_t movieBytes = -1;

        bool operator==(const Stamp&) const = default;
    };
    Stamp stamp;

    std::string name() const { return folder.filename().string(); }

    bool operator==(const RecordingEntry&) const = default;
};

}  // namespace lumivastor::app
