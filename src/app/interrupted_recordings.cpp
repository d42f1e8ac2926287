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

Notice completingNotice(const std::vector<std::filesystem::path>& folders) {
    const std::string last = folders.empty() ? std::string() : folders.back().filename().string();
    if (folders.size() == 1) return {"Eine unterbrochene Aufnahme wird abgeschlossen: " + last, ""};
    return {std::to_string(folders.size()) + " unterbrochene Aufnahmen werden abgeschlossen, zuletzt " + last, ""};
}

CompletionReport completeRecordings(const std::vector<std::filesystem::path>& folders,
                                    const std::function<capture::Recovery(const std::filesystem::path&)>& recover,
                                    const std::stop_token& stop) {
    CompletionReport report;
    for (const auto& folder : folders) {
        if (stop.stop_requested()) break;
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

std::optional<Notice> completionNotice(const CompletionReport& report) {
    std::string text;
    if (report.completed.size() == 1) {
        text = "Eine unterbrochene Aufnahme wurde abgeschlossen: " + report.completed.front().filename().string();
    } else if (report.completed.size() > 1) {
        text = std::to_string(report.completed.size()) + " unterbrochene Aufnahmen wurden abgeschlossen.";
    }
    for (const auto& failure : report.failures) {
        if (!text.empty()) text += "\n";
        text += "Eine Aufnahme wurde unterbrochen: " + failure.folder.filename().string() + ". " + failure.message;
    }
    if (text.empty()) return std::nullopt;
    return Notice{text, report.failures.empty() ? "Zeigen" : "Abschließen"};
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
