// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>

#include "base/formatted.h"
#include "base/log.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "model/project_document.h"
#include "model/project_settings.h"
#include "model/record_reader.h"
#include "model/record_writer.h"

namespace lumivastor::model {

namespace {

// Far above what a real document needs, far below what would hurt.
constexpr std::uint64_t kMaxCaptureBytes = 16ull << 20;
// Ten million pointer events; the parser itself ends at 4 GB.
constexpr std::uint64_t kMaxPointerBytes = 2ull << 30;

template <class Item>
void sortByTime(std::vector<Item>& items) {
    const auto earlier = [](const Item& a, const Item& b) { return a.t < b.t; };
    if (!std::is_sorted(items.begin(), items.end(), earlier)) std::stable_sort(items.begin(), items.end(), earlier);
}

}  // namespace

CaptureInfo CaptureInfo::load(const std::filesystem::path& folder) {
    return loadDocument<CaptureInfo>(fileURL(folder), kMaxCaptureBytes);
}

CaptureInfo CaptureInfo::parse(const FileBytes& document) {
    return readDocument<CaptureInfo>(document);
}

void CaptureInfo::save(const std::filesystem::path& folder) const {
    saveDocument(*this, fileURL(folder));
}

std::string CaptureInfo::timestamp(std::time_t time) {
    std::tm utc{};
    gmtime_r(&time, &utc);
    return formatted("%04d-%02d-%02dT%02d:%02d:%02dZ", utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour,
                     utc.tm_min, utc.tm_sec);
}

PointerTrack PointerTrack::load(const std::filesystem::path& folder) {
    return loadDocument<PointerTrack>(fileURL(folder), kMaxPointerBytes);
}

PointerTrack PointerTrack::parse(const FileBytes& document) {
    auto track = readDocument<PointerTrack>(document);
    // Our own recorder writes in order; everything above relies on it, so files from elsewhere are put in order.
    sortByTime(track.events);
    sortByTime(track.cursorChanges);
    if (track.windowFrames) sortByTime(*track.windowFrames);
    return track;
}

void PointerTrack::save(const std::filesystem::path& folder) const {
    saveDocument(*this, fileURL(folder));
}

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
