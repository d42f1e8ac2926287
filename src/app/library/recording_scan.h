// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "app/library/recording_entry.h"

// Finds recordings on the disk. Folders are untrusted: nothing waits for pipes or devices, nothing follows links out of
// what is counted, and every loop has a limit. Any thread.

namespace lumivastor::app {

/// Whether a process holds the folder's journal: a recorder or a recovery, of this program or, on the command line, of
/// another.
bool isInWork(const std::filesystem::path& folder);

/// What a folder holds, without `bytes`; nullopt when it is no recording. Reads one small document and no movie.
std::optional<RecordingEntry> readRecording(const std::filesystem::path& folder);

/// No more than so many folders are examined in one place.
inline constexpr std::size_t kMostFolders = 5000;

struct FoundRecordings {
    std::vector<RecordingEntry> entries;
    /// There are more folders than were examined.
    bool isCut = false;
};

/// The recordings of a place: the folder itself when it is one, else those directly below. A place that cannot be read
/// has none.
FoundRecordings recordingsIn(const std::filesystem::path& place, const std::function<bool()>& isStopped);

/// The space that a folder's files take on the disk. Counts no more than 100,000 of them. nullopt when it was stopped.
std::optional<std::uint64_t> bytesOnDisk(const std::filesystem::path& folder, const std::function<bool()>& isStopped);

}  // namespace lumivastor::app
