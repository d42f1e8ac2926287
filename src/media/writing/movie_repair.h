// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>

namespace lumivastor::media {

/// What `repairMovie` found and did.
struct MovieRepair {
    bool wasWhole = false;         // a plain movie already, not changed
    bool repaired = false;         // was fragmented, is a plain movie now
    double seconds = 0;            // the movie's length, that of its longest track
    std::int64_t videoFrames = 0;  // pictures in all its video tracks
    std::int64_t cutBytes = 0;     // cut off its end: a torn fragment, or an unfinished index
};

/// Makes a plain movie of the file that an `AssetWriter` with a fragment interval left behind when its process was
/// killed or its disk was full, in place and without copying samples: every whole fragment is kept, a torn one behind
/// them is cut off. If the disk has no room for the index, the last fragment is given up for it.
///
/// May itself be interrupted at any point and run again. Not while the movie is still being written. The file is
/// untrusted: memory stays within a few bytes for each sample that the file can hold. Throws `RecorderError` when it
/// cannot be read or written, is not a movie, has fragments of another program, or has no whole fragment; the file is
/// then unchanged, or still fragmented. Any thread.
MovieRepair repairMovie(const std::filesystem::path& path);

}  // namespace lumivastor::media
