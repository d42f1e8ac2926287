// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_changes.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "app/library/exclusive_rename.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"

namespace lumivastor::app {

namespace {

// Of every file system that is in use.
constexpr std::size_t kLongestName = 255;  // bytes

}  // namespace

RecordingCommands commandsOf(const RecordingEntry& entry) {
    const bool isComplete = entry.state == RecordingState::complete;
    return {isComplete, entry.state == RecordingState::interrupted && !entry.isBeingCompleted,
            isComplete && !entry.isBeingRendered};
}

std::optional<std::string> useRefusal(const RecordingEntry& entry, RecordingUse use) {
    const std::string name = "„" + entry.name() + "“ ";
    if (use == RecordingUse::completed) return name + "wird gerade abgeschlossen.";
    if (entry.state == RecordingState::inProgress) return name + "wird gerade aufgenommen.";
    if (use == RecordingUse::rendered || entry.isBeingRendered) return name + "wird gerade gerendert.";
    if (use == RecordingUse::edited) return name + "ist im Editor geöffnet. Schließe ihn zuerst.";
    return std::nullopt;
}

std::string trimmedName(std::string_view typed) {
    constexpr std::string_view kSpaces = " \t\r\n";
    const auto first = typed.find_first_not_of(kSpaces);
    if (first == std::string_view::npos) return {};
    return std::string(typed.substr(first, typed.find_last_not_of(kSpaces) - first + 1));
}

std::optional<std::string> nameRefusal(std::string_view name) {
    if (trimmedName(name).empty()) return "Der Name ist leer.";
    if (name.find('/') != std::string_view::npos) return "Ein Name darf keinen Schrägstrich enthalten.";
    if (name.front() == '.') return "Ein Name darf nicht mit einem Punkt beginnen.";
    const auto isControl = [](char each) { return static_cast<unsigned char>(each) < 0x20 || each == 0x7F; };
    if (std::any_of(name.begin(), name.end(), isControl)) return "Der Name enthält unsichtbare Zeichen.";
    if (name.size() > kLongestName) return "Der Name ist zu lang.";
    return std::nullopt;
}

std::filesystem::path renameFolder(const std::filesystem::path& folder, const std::string& name) {
    const std::filesystem::path renamed = folder.parent_path() / name;
    if (renamed == folder) return folder;
    const std::error_code error = renameExclusively(folder, renamed);
    if (error == std::errc::file_exists) throw RecorderError("Es gibt hier schon etwas mit dem Namen „" + name + "“.");
    if (error) {
        throw RecorderError("„" + folder.filename().string() +
                            "“ lässt sich nicht umbenennen: " + systemErrorText(error) + ".");
    }
    return renamed;
}

}  // namespace lumivastor::app
