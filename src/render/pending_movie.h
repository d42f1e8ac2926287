// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "base/unique_descriptor.h"

namespace lumivastor::render {

/// A film that is made beside its place and put there when it is complete. Until then an error, a cancellation or a
/// crash leaves the earlier film unchanged. A symbolic link in the place is replaced, not followed. The film is
/// readable for its owner only, or keeps the mode of the film that it replaces. One thread at a time.
class PendingMovie {
  public:
    /// Makes an empty file with a hidden name of its own, ".lumivastor-export-….part", in the folder of `target`. The
    /// file is locked as long as this object lives. Also deletes unlocked files of such names, which ended programs
    /// left behind. Throws `RecorderError` when no file can be created there, or when a folder or device is in the
    /// place.
    explicit PendingMovie(std::filesystem::path target);
    /// Removes the file unless it is in its place.
    ~PendingMovie();
    PendingMovie(const PendingMovie&) = delete;
    PendingMovie& operator=(const PendingMovie&) = delete;

    /// The final path.
    const std::filesystem::path& target() const { return target_; }
    /// The path while it is made. Write into this file and do not replace it, because the lock belongs to the file.
    const std::filesystem::path& path() const { return path_; }

    /// Puts the file in its place atomically; its bytes must be on the disk already. Throws `RecorderError` and leaves
    /// the earlier film unchanged. Call it once.
    void putInPlace();

  private:
    const std::filesystem::path target_;
    const std::filesystem::path folder_;
    std::filesystem::path path_;
    UniqueDescriptor lock_;
    bool isInPlace_ = false;
};

}  // namespace lumivastor::render
