// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/project_settings.h"

namespace lumivastor::model {

/// Whether a field of "project.json" is part of a look: how a video looks and sounds, whatever it shows. Times, cuts,
/// the list of zooms, masks and the crop belong to one recording. Every field is decided in look.cpp; one that is not
/// does not compile. `key` is a key of the document.
bool belongsToLook(std::string_view key);

/// The settings with all fields of a look taken from `look`. As the controls do, leaves the bubble's fields of a
/// recording without a webcam as they are.
ProjectSettings withLook(const ProjectSettings& settings, const ProjectSettings& look, bool hasWebcam);

/// What is saved of settings as a look; all other fields have their defaults.
ProjectSettings lookOf(const ProjectSettings& settings);

/// The name of a look as the user typed it, without the blanks around it. It becomes the name of a file. Throws
/// `RecorderError` if it cannot.
std::string checkedLookName(std::string_view typed);

/// The look of a recording that was edited. Throws `RecorderError` if its "project.json" is missing or faulty.
ProjectSettings lookOfRecording(const std::filesystem::path& folder);

/// The looks that the user has saved: files "NAME.json" of one folder, of the same form as "project.json". Files may be
/// changed by others at any time. One thread.
class LookFolder {
  public:
    /// The look with this name is the one of new recordings. While it is not saved, they have the program's defaults.
    static constexpr const char* kStandard = "Standard";

    /// Longer files are not read; a look has less than a thousand bytes.
    static constexpr std::uint64_t kMaxBytes = 1ull << 20;

    /// `save` creates the folder if it is missing. An empty path has no looks, and none can be saved.
    explicit LookFolder(std::filesystem::path folder) : folder_(std::move(folder)) {}

    /// The names of the saved looks, sorted without regard to ASCII case. An unreadable folder has none.
    std::vector<std::string> names() const;
    bool contains(const std::string& name) const;

    /// `lookOf` what is saved under the name; for `kStandard` the program's defaults if it is not. Throws
    /// `RecorderError`.
    ProjectSettings load(const std::string& name) const;

    /// Saves `lookOf(settings)` and replaces a look of that name. A file that is no look is kept as "NAME.json.alt".
    /// Throws `RecorderError` and leaves the old file.
    void save(const std::string& name, const ProjectSettings& settings) const;

    /// Deletes a look. Throws `RecorderError`, also if there is none.
    void remove(const std::string& name) const;

  private:
    std::filesystem::path file(const std::string& name) const;

    std::filesystem::path folder_;
};

}  // namespace lumivastor::model
