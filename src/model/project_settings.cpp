// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/project_settings.h"

#include <string>
#include <system_error>

#include "base/file_replacement.h"
#include "base/log.h"
#include "model/project_document.h"
#include "model/record_reader.h"
#include "model/record_writer.h"

namespace lumivastor::model {

double factor(Tempo tempo) {
    switch (tempo) {
        case Tempo::schnell:
            return 0.75;
        case Tempo::normal:
            return 1.0;
        case Tempo::ruhig:
            return 1.35;
    }
    return 1.0;
}

std::string_view fileExtension(ExportFormat format) {
    return format == ExportFormat::mp4 ? "mp4" : "mov";
}

ProjectSettings ProjectSettings::load(const std::filesystem::path& folder) {
    try {
        return loadDocument<ProjectSettings>(fileURL(folder), ProjectDocument::kMaxBytes);
    } catch (const RecorderError&) {
        return {};
    }
}

ProjectSettings ProjectSettings::parse(const FileBytes& document) {
    return readDocument<ProjectSettings>(document);
}

void ProjectSettings::save(const std::filesystem::path& folder) const {
    try {
        const std::filesystem::path path = fileURL(folder);
        if (const std::error_code error = replaceFile(path, ProjectDocument::encoded(*this))) {
            throw unwrittenDocument(path, error);
        }
    } catch (const RecorderError& error) {
        Log::write("Editor", "Speichern fehlgeschlagen: " + error.message());
    }
}

}  // namespace lumivastor::model
