// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>

namespace lumivastor::media {

/// What `repairMovie` found and did.
struct MovieRepair {
    bool wasWhole = false;         // a plain movie already, left alone
    bool repaired = false;         // was in fragments, is a plain movie now
    double seconds = 0;            // the movie's length, that of its longest track
    std::int64_t videoFrames = 0;  // pictures in all its video tracks
    std::int64_t cutBytes = 0;     // taken off its end: a torn fragment, or an index that was not finished
};

/// Makes a plain movie of what an `AssetWriter` with a fragment interval left behind when its process was killed or its
/// disk was full, in place and without copying samples: every whole fragment is kept, what is torn behind them is cut
/// off. Where the disk has no room for the index, the last fragment makes room for it.
///
/// May itself be interrupted at any point and run again. Not while the movie is still being written. The file is
/// untrusted: memory stays within a few bytes for each sample that the file can hold. Throws `RecorderError` when it
/// cannot be read or written, is no movie, is in fragments of another make, or holds no whole fragment; the file is
/// unchanged then, or still in fragments. Any thread.
MovieRepair repairMovie(const std::filesystem::path& path);

}  // namespace lumivastor::media
