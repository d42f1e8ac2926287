// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/project_document.h"

#include <utility>

#include "base/file_bytes.h"
#include "base/file_replacement.h"
#include "base/recorder_error.h"
#include "model/record_writer.h"

namespace lumivastor::model {

namespace {

std::optional<ProjectSettings> parsed(const FileBytes& bytes) {
    try {
        return ProjectSettings::parse(bytes);
    } catch (const RecorderError&) {
        return std::nullopt;
    }
}

}  // namespace

std::string ProjectDocument::encoded(const ProjectSettings& settings) {
    ProjectSettings written = settings;
    written.version = 1;  // documents of any version are saved in this one
    return encodedDocument(written);
}

ProjectDocument::ProjectDocument(std::filesystem::path folder) : folder_(std::move(folder)) {
    std::error_code error;
    const FileBytes bytes = readFile(ProjectSettings::fileURL(folder_), kMaxBytes, error);
    if (error) return;
    if (auto settings = parsed(bytes)) {
        settings_ = std::move(*settings);
        known_ = bytes.text();
    }
}

bool ProjectDocument::exists() const {
    std::error_code ignored;
    return std::filesystem::exists(std::filesystem::symlink_status(ProjectSettings::fileURL(folder_), ignored));
}

ProjectDocument::Before ProjectDocument::save(const ProjectSettings& settings) {
    const std::filesystem::path path = ProjectSettings::fileURL(folder_);
    std::string text = encoded(settings);
    std::error_code error;
    const FileBytes bytes = readFile(path, kMaxBytes, error);
    Before before = Before::expected;
    if (error ? exists() : known_ != bytes.text()) {
        before = error || !parsed(bytes) ? Before::unreadable : Before::foreign;
    }
    const std::optional<std::filesystem::path> kept =
        before == Before::expected ? std::nullopt : std::optional<std::filesystem::path>(kKeptName);
    if (const std::error_code failure = replaceFile(path, text, Durability::now, kept)) {
        throw unwrittenDocument(path, failure);
    }
    known_ = std::move(text);
    return before;
}

}  // namespace lumivastor::model
