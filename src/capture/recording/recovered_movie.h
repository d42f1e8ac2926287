// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>

namespace lumivastor::capture {

/// The content of a movie that its writer did not finish.
struct RecoveredMovie {
    /// The time of the movie's last picture, in seconds; for sound alone, the end of the sound.
    double lastPicture = 0;
    std::int64_t pictures = 0;
};

/// Makes a plain movie of a fragmented one and examines its content; a plain one is only examined. Throws
/// `RecorderError` when it cannot be repaired, or has neither pictures nor sound. Any thread.
RecoveredMovie recoverMovie(const std::filesystem::path& path);

/// Whether another attempt could succeed after one has failed, for example when there is room on the disk: false when
/// there is no such file, or nothing of the recording has reached it.
bool mayStillBeRecovered(const std::filesystem::path& path);

}  // namespace lumivastor::capture
