// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ctime>
#include <filesystem>

namespace lumivastor::capture {

/// Where recordings are kept: "Movies/LumiVastor" in the user's home folder. Not created.
std::filesystem::path recordingsRoot();

/// Where measurements of encoders are remembered: in the user's cache folder. The folders on the way are created, as
/// far as that is possible.
std::filesystem::path encoderMemoryFile();

/// Creates the folder of a recording, for the user alone, and the folders above it; one that is there stays as it is.
/// Throws `RecorderError`.
void createRecordingFolder(const std::filesystem::path& folder);

/// Creates a folder for a recording that starts at `time`, named by it in local time ("2025-03-14_09-05-33"), and the
/// folders above it; it and `root`, if that is new, are for the user alone. A second one within the same second gets
/// "-2" behind its name, and so on. Throws `RecorderError`.
std::filesystem::path makeRecordingFolder(const std::filesystem::path& root, std::time_t time);

}  // namespace lumivastor::capture
