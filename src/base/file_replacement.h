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

/// When what was written is on the disk, so that it outlives a loss of power.
enum class Durability {
    now,    // when writing has ended
    later,  // when the system gets round to it
};

/// Replaces a file as a whole: what is written goes to a new file beside it, which takes its name when everything is
/// there. Until then, and after any failure, the old file is what it was. A symbolic link of that name is replaced, not
/// followed; folders, pipes and devices are refused, and so are files that the user may not write.
///
/// The file belongs to its owner alone (mode 0600) unless there was one before, whose mode and owner it keeps. What a
/// crash leaves beside the file goes when the file is next replaced. One thread at a time.
class FileReplacement {
  public:
    explicit FileReplacement(std::filesystem::path path, Durability durability = Durability::now);
    /// Without `commit` nothing has happened.
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// Nothing on the disk is touched before the first bytes come.
    void write(std::string_view bytes);

    /// Puts the new file in its place. `keepOldAs`: the name in the same folder under which the old one stays, whatever
    /// it was, replacing a file of that name. The first error of all; none when the file is in place.
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
    std::filesystem::path beside_;  // empty before there is such a file, and after it has gone
    UniqueDescriptor hold_;         // the same file, locked, so that nobody takes it for what a crash has left
    std::optional<FileWriter> writer_;
    struct Old {
        mode_t mode = 0;
        uid_t owner = 0;
        gid_t group = 0;
    };
    std::optional<Old> old_;  // the file that is replaced, if it is a regular one
};

/// Replaces a file by these bytes; the first error, none when it is in place.
std::error_code replaceFile(const std::filesystem::path& path, std::string_view bytes,
                            Durability durability = Durability::now,
                            const std::optional<std::filesystem::path>& keepOldAs = {});

/// Waits until a file, or a folder's list of names, is on the disk. Symbolic links are not followed.
std::error_code syncToDisk(const std::filesystem::path& path);

}  // namespace lumivastor
