// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace lumivastor::app {

/// What the application's command line asks for. What it does not know it leaves alone.
struct CommandSwitches {
    /// "--open-editor FOLDER": opens this folder in an editor. Nothing follows, nothing is opened.
    std::optional<std::filesystem::path> openEditor;
    /// "--choose-recording": asks for a folder to open in an editor.
    bool chooseRecording = false;
    /// "--test-region": goes through the choice of a region by itself, up to where the mouse is needed.
    bool testRegion = false;
};

/// `words` without the program's name; relative folders are taken from `workingFolder`.
CommandSwitches commandSwitches(std::span<const std::string> words, const std::filesystem::path& workingFolder);

}  // namespace lumivastor::app
