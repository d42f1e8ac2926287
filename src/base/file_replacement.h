// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "base/file_writer.h"
#include "base/unique_descriptor.h"

namespace lumivastor {

/// When written bytes must be on the disk, where they survive a loss of power.
enum class Durability {
    now,    // when writing has ended
    later,  // whenever the system writes its caches
};

/// Replaces a file as a whole: the bytes go to a new file beside it, which takes over the name once it is complete.
/// Until then, and after any failure, the old file is unchanged. A symbolic link of that name is replaced, not
/// followed. Folders, pipes, devices and files that the user may not write are refused.
///
/// The file belongs to its owner alone (mode 0600) unless there was one before, whose mode and owner it keeps. A file
/// that a crash left beside it is deleted at the next replacement. One thread at a time.
class FileReplacement {
  public:
    explicit FileReplacement(std::filesystem::path path, Durability durability = Durability::now);
    /// Discards the new file unless `commit` has put it in place.
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// The first call creates the new file; before it nothing on the disk changes.
    void write(std::string_view bytes);

    /// Puts the new file in its place. `keepOldAs` is a name in the same folder: the old file, of whatever kind, is
    /// moved there and replaces a file of that name. Returns the first error since construction, none when the new file
    /// is in place.
    std::error_code commit(const std::optional<std::filesystem::path>& keepOldAs = {});

  private:
    void open();
    void examineOld();
    void createBeside();
    std::error_code complete();
    std::error_code takePlace(const std::optional<std::filesystem::path>& keepOldAs);
    void discard();

    const std::filesystem::path path_;
    const Durability durability_;
    std::error_code error_;
    std::filesystem::path beside_;  // empty unless the new file exists
    UniqueDescriptor hold_;         // the same file, locked, so that it does not count as a leftover
    std::optional<FileWriter> writer_;
    struct Old {
        mode_t mode = 0;
        uid_t owner = 0;
        gid_t group = 0;
    };
    std::optional<Old> old_;  // the file that is replaced, if it is a regular one
};

/// Replaces a file by these bytes. Returns the first error, none on success. Otherwise as `FileReplacement`.
std::error_code replaceFile(const std::filesystem::path& path, std::string_view bytes,
                            Durability durability = Durability::now,
                            const std::optional<std::filesystem::path>& keepOldAs = {});

/// Waits until a file, or a folder's list of names, is on the disk. Does not follow symbolic links. Any thread.
std::error_code syncToDisk(const std::filesystem::path& path);

}  // namespace lumivastor
