// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/recording_quality.h"

#include <system_error>

#include "model/record_reader.h"
#include "model/record_writer.h"

namespace lumivastor::model {

namespace {

// Real documents have a few thousand bytes.
constexpr std::uint64_t kMaxQualityBytes = 1ull << 20;

}  // namespace

std::optional<RecordingQuality> RecordingQuality::find(const std::filesystem::path& folder) {
    std::error_code ignored;
    const auto type = std::filesystem::symlink_status(fileURL(folder), ignored).type();
    if (type == std::filesystem::file_type::not_found) return std::nullopt;
    return loadDocument<RecordingQuality>(fileURL(folder), kMaxQualityBytes);
}

RecordingQuality RecordingQuality::parse(const FileBytes& document) {
    return readDocument<RecordingQuality>(document);
}

void RecordingQuality::save(const std::filesystem::path& folder) const {
    saveDocument(*this, fileURL(folder));
}

}  // namespace lumivastor::model
