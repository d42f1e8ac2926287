// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ctime>
#include <filesystem>

namespace lumivastor::capture {

/// The folder of all recordings: "Movies/LumiVastor" in the user's home folder. Does not create it.
std::filesystem::path recordingsRoot();

/// The file that remembers measurements of encoders, in the user's cache folder. Creates missing folders; failures are
/// ignored.
std::filesystem::path encoderMemoryFile();

/// The folder that keeps overviews of recordings, in the user's cache folder. Does not create it.
std::filesystem::path overviewCacheFolder();

/// The folder that remembers what films are made of and keeps parts of unfinished ones, likewise.
std::filesystem::path filmCacheFolder();

/// Creates the folder of a recording, accessible to the user alone, and missing folders above it. Leaves an existing
/// folder unchanged. Throws `RecorderError`.
void createRecordingFolder(const std::filesystem::path& folder);

/// Creates a folder for a recording that starts at `time`, named after the local time ("2025-03-14_09-05-33"), and
/// missing folders above it. The folder, and a new `root`, are accessible to the user alone. Further folders of the
/// same second are named with "-2" and so on. Throws `RecorderError`.
std::filesystem::path makeRecordingFolder(const std::filesystem::path& root, std::time_t time);

}  // namespace lumivastor::capture
