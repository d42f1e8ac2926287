// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "base/unique_descriptor.h"

namespace lumivastor::render {

/// A film that is made beside its place and put there once it is whole. Whatever ends the making before that – an
/// error, a cancellation, the end of the program or of the machine – the earlier film stays as it is. A symbolic link
/// in the place is replaced, not followed. The film is readable for its owner only, or keeps the mode of the film that
/// it replaces. One thread at a time.
class PendingMovie {
  public:
    /// Makes an empty file with a hidden name of its own, ".lumivastor-export-….part", in the folder of `target`. It is
    /// locked as long as this object lives, and files of such names that nobody has locked are removed here: they are
    /// what ended programs left. Throws `RecorderError` when no file can be made there, or when there is something in
    /// the place that a file does not replace: a folder, a device.
    explicit PendingMovie(std::filesystem::path target);
    /// Removes the file unless it is in its place.
    ~PendingMovie();
    PendingMovie(const PendingMovie&) = delete;
    PendingMovie& operator=(const PendingMovie&) = delete;

    /// Where it belongs.
    const std::filesystem::path& target() const { return target_; }
    /// Where it is made. To be written to, not to be exchanged: the lock is the file's.
    const std::filesystem::path& path() const { return path_; }

    /// Puts the file in its place, at one stroke. Its bytes are on the disk already. Throws `RecorderError`, with what
    /// is in the place untouched. Once.
    void putInPlace();

  private:
    const std::filesystem::path target_;
    const std::filesystem::path folder_;
    std::filesystem::path path_;
    UniqueDescriptor lock_;
    bool isInPlace_ = false;
};

}  // namespace lumivastor::render
