// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace lumivastor::app {

/// The switches of the application's command line. Unknown words are ignored.
struct CommandSwitches {
    /// "--open-editor FOLDER": opens this folder in an editor. nullopt without FOLDER.
    std::optional<std::filesystem::path> openEditor;
    /// "--choose-recording": shows the list of recordings.
    bool chooseRecording = false;
    /// "--test-region": performs the choice of a region up to the point where the mouse is needed.
    bool testRegion = false;
};

/// `words` excludes the program's name. Relative folders are resolved against `workingFolder`.
CommandSwitches commandSwitches(std::span<const std::string> words, const std::filesystem::path& workingFolder);

}  // namespace lumivastor::app
