// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/capture_info.h"

#include "base/formatted.h"
#include "model/record_reader.h"
#include "model/record_writer.h"

namespace lumivastor::model {

namespace {

// Far above what a real document needs, far below what would hurt.
constexpr std::uint64_t kMaxCaptureBytes = 16ull << 20;

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

}  // namespace lumivastor::model
