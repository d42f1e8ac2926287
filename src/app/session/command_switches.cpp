// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session/command_switches.h"

#include <algorithm>

namespace lumivastor::app {

CommandSwitches commandSwitches(std::span<const std::string> words, const std::filesystem::path& workingFolder) {
    CommandSwitches switches;
    switches.testRegion = std::find(words.begin(), words.end(), "--test-region") != words.end();
    switches.chooseRecording = std::find(words.begin(), words.end(), "--choose-recording") != words.end();
    const auto open = std::find(words.begin(), words.end(), "--open-editor");
    if (open != words.end() && open + 1 != words.end()) switches.openEditor = workingFolder / *(open + 1);
    return switches;
}

}  // namespace lumivastor::app
