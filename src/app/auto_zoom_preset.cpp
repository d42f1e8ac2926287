// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/auto_zoom_preset.h"

#include "base/file_replacement.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "model/look.h"
#include "model/project_settings.h"

namespace lumivastor::app {

bool presetZoomsOff(const std::filesystem::path& folder, const std::optional<model::ProjectSettings>& newLook,
                    bool hasWebcam) {
    const auto document = model::ProjectSettings::fileURL(folder);
    std::error_code error;
    if (std::filesystem::exists(std::filesystem::symlink_status(document, error))) return false;
    if (newLook) {
        model::ProjectSettings settings = model::withLook({}, *newLook, hasWebcam);
        settings.zoomScale = 1;
        settings.save(folder);
        return true;
    }
    // Not through `ProjectSettings`: keys that are missing here get the defaults of the version that opens the folder.
    error = replaceFile(document, R"({"zoomScale": 1.0})");
    if (error) throw RecorderError("„project.json“ kann nicht geschrieben werden: " + systemErrorText(error) + ".");
    return true;
}

}  // namespace lumivastor::app
