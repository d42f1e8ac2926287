// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "base/recorder_error.h"

namespace lumivastor::capture {

/// Of the volume that holds a folder, in bytes.
struct FreeSpace {
    std::uint64_t available = 0;
    std::uint64_t capacity = 0;
};

/// Nothing when the system does not tell.
std::optional<FreeSpace> freeSpaceOf(const std::filesystem::path& folder);

/// What a recording writes.
struct SpaceNeed {
    /// While it runs: all tracks together.
    double bytesPerSecond = 0;
    /// At its end: the movie's index and the documents.
    std::uint64_t finishingBytes = 0;
};

/// What finishing takes for so many pictures, seconds of sound (all tracks together) and pointer events.
std::uint64_t finishingBytes(std::int64_t pictures, double soundSeconds, std::int64_t pointerEvents);

/// How much has to stay free for a recording to go on.
std::uint64_t requiredSpace(const SpaceNeed& need, std::uint64_t capacity);

/// Whether a recording has to end now, so that it can still be finished.
bool mustStop(const FreeSpace& space, const SpaceNeed& need);

/// What the user is told then.
RecorderError diskNearlyFull();

/// What the user is told about a recording in this folder that could not be completed: why, and how that can be made up
/// for. `isDiskFull`: once there is room.
RecorderError notCompleted(const RecorderError& reason, const std::filesystem::path& folder, bool isDiskFull);

}  // namespace lumivastor::capture
