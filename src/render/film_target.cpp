// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_target.h"

#include <system_error>

#include "base/recorder_error.h"

namespace lumivastor::render {

namespace {

// Whether it is one of the recording's own files, which an export must not replace.
bool belongsTo(const edit::Recording& recording, const std::filesystem::path& file) {
    std::error_code ignored;  // a missing folder is not the recording's
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    if (std::filesystem::equivalent(folder, recording.folder / "cursors", ignored)) return true;
    if (!std::filesystem::equivalent(folder, recording.folder, ignored)) return false;
    const std::filesystem::path name = file.filename();
    for (const char* own : {"source.mov", "capture.json", "pointer.json", "project.json", "quality.json", "journal"}) {
        if (name == own) return true;
    }
    return recording.hasWebcam() && std::filesystem::equivalent(file, recording.webcamFile, ignored);
}

}  // namespace

std::filesystem::path filmTarget(const edit::Recording& recording, FilmForm form, const std::filesystem::path& file) {
    if (file.empty()) return recording.folder / usualName(form);
    if (belongsTo(recording, file)) {
        throw RecorderError(file.filename().string() + " gehört zur Aufnahme und wird nicht durch das Video ersetzt.");
    }
    return file;
}

}  // namespace lumivastor::render
