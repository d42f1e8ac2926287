// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/program_home.h"

#include <sys/stat.h>

#include <algorithm>

#include "support/text_file.h"

namespace lumivastor {

ProgramHome::ProgramHome() {
    std::filesystem::create_directory(folder_ / "run");
    ::chmod((folder_ / "run").c_str(), 0700);
    // Two connections that begin at once would make the sound server's key at once, and one of them complains of it.
    const auto keys = folder_ / ".config/pulse";
    std::filesystem::create_directories(keys);
    writeText(keys / "cookie", std::string(256, '0'));
}

std::vector<std::filesystem::path> ProgramHome::recordings() const {
    std::vector<std::filesystem::path> found;
    const auto root = folder_ / "Movies/LumiVastor";
    if (!std::filesystem::exists(root)) return found;
    for (const auto& entry : std::filesystem::directory_iterator(root)) found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

bool ProgramHome::isRecording() const {
    const auto folders = recordings();
    if (folders.empty() || !std::filesystem::exists(folders.back() / "journal")) return false;
    return readText(folders.back() / "journal").find(" session ") != std::string::npos;
}

bool ProgramHome::isFinished() const {
    const auto folders = recordings();
    return !folders.empty() && std::filesystem::exists(folders.back() / "capture.json") &&
           !std::filesystem::exists(folders.back() / "journal");
}

std::string ProgramHome::log() const {
    const auto file = folder_ / "Library/Logs/LumiVastor.log";
    return std::filesystem::exists(file) ? readText(file) : "";
}

}  // namespace lumivastor
