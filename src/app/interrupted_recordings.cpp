// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/interrupted_recordings.h"

#include <algorithm>
#include <system_error>

#include "app/library/recording_scan.h"
#include "base/formatted.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "capture/journal/journal.h"

namespace lumivastor::app {

std::vector<std::filesystem::path> interruptedRecordings(const std::filesystem::path& root) {
    std::vector<std::filesystem::path> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(root, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unreadable;
        const auto& folder = entry->path();
        if (entry->is_directory(unreadable) && capture::isUnfinishedRecording(folder) && !isInWork(folder)) {
            found.push_back(folder);
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::optional<Notice> interruptedNotice(const std::vector<std::filesystem::path>& folders) {
    if (folders.empty()) return std::nullopt;
    const std::string last = folders.back().filename().string();
    if (folders.size() == 1) return Notice{"Eine Aufnahme wurde unterbrochen: " + last, "Abschließen"};
    return Notice{std::to_string(folders.size()) + " Aufnahmen wurden unterbrochen, zuletzt " + last, "Abschließen"};
}

CompletionReport completeRecordings(const std::vector<std::filesystem::path>& folders,
                                    const std::function<capture::Recovery(const std::filesystem::path&)>& recover) {
    CompletionReport report;
    for (const auto& folder : folders) {
        try {
            report.lastStats = recover(folder).stats;
            report.completed.push_back(folder);
        } catch (...) {
            const std::string reason = handledError("Unerwarteter Fehler").message();
            Log::write("Capture", "nicht zu vervollständigen: " + folder.string() + ": " + reason);
            report.failures.push_back({folder, reason});
        }
    }
    return report;
}

std::string completionText(const CompletionReport& report) {
    std::string text;
    if (report.completed.size() == 1) {
        text = formatted("Abgeschlossen: %.1f s, %lld Bilder\nOrdner: ", report.lastStats.duration,
                         static_cast<long long>(report.lastStats.framesWritten)) +
               report.completed.front().string();
    } else if (report.completed.size() > 1) {
        text = std::to_string(report.completed.size()) + " Aufnahmen abgeschlossen.";
    }
    for (const auto& failure : report.failures) {
        if (!text.empty()) text += "\n";
        text += failure.folder.filename().string() + ": " + failure.message;
    }
    return text;
}

}  // namespace lumivastor::app
