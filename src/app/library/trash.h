// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

// The trash of the desktop, by freedesktop's Trash specification, version 1.0: file managers show what is in it, and
// restore it.

namespace lumivastor::app {

/// The user's own trash: "Trash" in the folder for data ($XDG_DATA_HOME, or ".local/share" in the home folder).
std::filesystem::path homeTrash();

/// A path as ".trashinfo" files have it: every byte percent-encoded but letters, digits, "-._~" and slashes.
std::string trashPath(std::string_view path);

/// The content of the ".trashinfo" of something that was at `path` and is deleted at this time, which is written as
/// local time.
std::string trashInfo(std::string_view path, std::time_t deleted);

/// The trash of the volume whose top folder is `top`: ".Trash/UID" where an administrator has made ".Trash" for
/// everybody, as a folder with the sticky bit, else ".Trash-UID". Creates it. nullopt when there can be none that is
/// the user's own.
std::optional<std::filesystem::path> volumeTrash(const std::filesystem::path& top, uid_t user);

/// Moves a file or folder into one trash and returns where it is now. `recordedPath` is what its information says of
/// the place that it came from. Throws std::system_error; then nothing has changed.
std::filesystem::path moveIntoTrash(const std::filesystem::path& item, const std::filesystem::path& trash,
                                    const std::string& recordedPath, std::time_t now);

/// Moves a folder into the trash of the volume that it is on: the home trash where that is the same file system.
/// Nothing is copied, and nothing is deleted. Throws `RecorderError`.
void moveToTrash(const std::filesystem::path& folder, const std::filesystem::path& homeTrash, std::time_t now);

}  // namespace lumivastor::app
