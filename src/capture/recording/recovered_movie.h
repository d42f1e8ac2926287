// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>

namespace lumivastor::capture {

/// What a movie that was not finished by its writer holds after all.
struct RecoveredMovie {
    /// Seconds of the movie at which its last picture is shown; of sound alone, at which that ends.
    double lastPicture = 0;
    std::int64_t pictures = 0;
};

/// Makes a plain movie of one that was left in fragments, and looks at what is in it; a plain one is only looked at.
/// Throws `RecorderError` when nothing can be made of it, or it holds neither picture nor sound. Any thread.
RecoveredMovie recoverMovie(const std::filesystem::path& path);

/// Whether a later attempt could do better than one that has just failed, as once there is room on the disk: false when
/// there is no such file, or nothing of the recording has reached it.
bool mayStillBeRecovered(const std::filesystem::path& path);

}  // namespace lumivastor::capture
