// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "app/library/recording_entry.h"

// What can be done with a recording of the list, and renaming it. A recording in use stays where it is.

namespace lumivastor::app {

/// What this program does with a recording at the moment.
enum class RecordingUse { none, edited, rendered, completed };

/// What can be done with a recording besides changing its folder. An interrupted one is completed first.
struct RecordingCommands {
    bool canOpen = false;
    bool canComplete = false;
    bool canRender = false;

    bool operator==(const RecordingCommands&) const = default;
};
RecordingCommands commandsOf(const RecordingEntry& entry);

/// Why a recording must not be moved or renamed now, as a German sentence; nullopt when it may.
std::optional<std::string> useRefusal(const RecordingEntry& entry, RecordingUse use);

/// A typed name without spaces around it.
std::string trimmedName(std::string_view typed);

/// Why a folder cannot have this name, as a German sentence; nullopt when it can. Does not look at the disk.
std::optional<std::string> nameRefusal(std::string_view name);

/// Renames a folder within the one that it is in, and returns its new path. The name is one that `nameRefusal` allows.
/// Throws `RecorderError` when something has that name, or the system refuses.
std::filesystem::path renameFolder(const std::filesystem::path& folder, const std::string& name);

}  // namespace lumivastor::app
