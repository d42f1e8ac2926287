// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "base/recorder_error.h"

namespace lumivastor::capture {

/// The space of a folder's volume, in bytes.
struct FreeSpace {
    std::uint64_t available = 0;
    std::uint64_t capacity = 0;
};

/// nullopt when the system does not report it. Any thread.
std::optional<FreeSpace> freeSpaceOf(const std::filesystem::path& folder);

/// The space that a recording needs.
struct SpaceNeed {
    /// While it runs, for all tracks together.
    double bytesPerSecond = 0;
    /// At its end, for the movie's index and the documents.
    std::uint64_t finishingBytes = 0;
};

/// The bytes that finishing needs for this many pictures, seconds of sound (all tracks together) and pointer events.
std::uint64_t finishingBytes(std::int64_t pictures, double soundSeconds, std::int64_t pointerEvents);

/// The bytes that must stay free while a recording continues. `capacity` is the volume's.
std::uint64_t requiredSpace(const SpaceNeed& need, std::uint64_t capacity);

/// Whether a recording must end now to have room for finishing.
bool mustStop(const FreeSpace& space, const SpaceNeed& need);

/// The message for the user in that case.
RecorderError diskNearlyFull();

/// The message for the user about a recording in this folder that could not be completed: the reason, and how to
/// complete it. `isDiskFull`: after making room.
RecorderError notCompleted(const RecorderError& reason, const std::filesystem::path& folder, bool isDiskFull);

}  // namespace lumivastor::capture
