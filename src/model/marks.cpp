// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/marks.h"

#include <algorithm>
#include <system_error>

#include "base/log.h"
#include "base/recorder_error.h"
#include "model/record_reader.h"
#include "model/record_writer.h"

namespace lumivastor::model {

namespace {

// A mark a second for a day.
constexpr std::uint64_t kMaxMarksBytes = 4ull << 20;
// No recording is as long.
constexpr double kLargestTime = 1e9;

}  // namespace

std::optional<Marks> Marks::find(const std::filesystem::path& folder) {
    std::error_code ignored;
    const auto type = std::filesystem::symlink_status(fileURL(folder), ignored).type();
    if (type == std::filesystem::file_type::not_found) return std::nullopt;
    auto marks = loadDocument<Marks>(fileURL(folder), kMaxMarksBytes);
    std::stable_sort(marks.list.begin(), marks.list.end(), [](const Mark& a, const Mark& b) { return a.t < b.t; });
    return marks;
}

std::vector<double> Marks::timesIn(const std::filesystem::path& folder) {
    std::vector<double> times;
    try {
        if (const auto marks = find(folder)) {
            for (const Mark& each : marks->list) {
                if (each.t >= 0 && each.t <= kLargestTime) times.push_back(each.t);
            }
        }
    } catch (const RecorderError& error) {
        Log::write("Editor", error.message());
    }
    return times;
}

Marks Marks::parse(const FileBytes& document) {
    auto marks = readDocument<Marks>(document);
    std::stable_sort(marks.list.begin(), marks.list.end(), [](const Mark& a, const Mark& b) { return a.t < b.t; });
    return marks;
}

void Marks::save(const std::filesystem::path& folder) const {
    saveDocument(*this, fileURL(folder));
}

}  // namespace lumivastor::model
