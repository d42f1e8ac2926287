// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_texts.h"

#include <array>
#include <cmath>

#include "base/byte_text.h"
#include "base/formatted.h"
#include "base/saturated.h"

namespace lumivastor::app {

namespace {

std::tm localTime(std::time_t time) {
    std::tm local{};
    localtime_r(&time, &local);
    return local;
}

}  // namespace

std::string dateText(std::time_t time) {
    const std::tm local = localTime(time);
    return formatted("%02d.%02d.%04d, %02d:%02d", local.tm_mday, local.tm_mon + 1, local.tm_year + 1900, local.tm_hour,
                     local.tm_min);
}

std::string searchedDate(std::time_t time) {
    static constexpr std::array kMonths = {"Januar", "Februar", "März",      "April",   "Mai",      "Juni",
                                           "Juli",   "August",  "September", "Oktober", "November", "Dezember"};
    static constexpr std::array kDays = {"Sonntag",    "Montag",  "Dienstag", "Mittwoch",
                                         "Donnerstag", "Freitag", "Samstag"};
    const std::tm local = localTime(time);
    const int year = local.tm_year + 1900;
    return dateText(time) +
           formatted(" %d.%d.%d %04d-%02d-%02d ", local.tm_mday, local.tm_mon + 1, year, year, local.tm_mon + 1,
                     local.tm_mday) +
           kMonths[static_cast<std::size_t>(local.tm_mon)] + " " + kDays[static_cast<std::size_t>(local.tm_wday)];
}

std::string lengthText(double seconds) {
    const auto whole = static_cast<long long>(saturatedRound<std::int64_t>(seconds));
    const long long hours = whole / 3600;
    if (hours > 0) return formatted("%lld:%02lld:%02lld", hours, whole / 60 % 60, whole % 60);
    return formatted("%lld:%02lld", whole / 60, whole % 60);
}

std::vector<Badge> badgesOf(const RecordingEntry& entry) {
    switch (entry.state) {
        case RecordingState::inProgress:
        case RecordingState::interrupted:
            if (entry.isBeingCompleted) return {{BadgeKind::active, "Wird abgeschlossen"}};
            if (entry.state == RecordingState::inProgress) return {{BadgeKind::active, "Wird aufgenommen"}};
            return {{BadgeKind::warning, "Unterbrochen"}};
        case RecordingState::damaged:
            return {{BadgeKind::fault, "Beschädigt"}};
        case RecordingState::complete:
            break;
    }
    std::vector<Badge> badges;
    if (entry.isEdited) badges.push_back({BadgeKind::neutral, "Bearbeitet"});
    if (entry.isBeingRendered) {
        badges.push_back({BadgeKind::active, "Wird gerendert"});
    } else if (entry.renderedAt) {
        badges.push_back({BadgeKind::good, "Gerendert"});
    }
    return badges;
}

std::string detailText(const RecordingEntry& entry, const std::filesystem::path& root) {
    if (!entry.fault.empty()) return entry.fault;
    if (entry.folder.parent_path() == root) return entry.source;
    const std::string where = "in " + entry.folder.parent_path().string();
    return entry.source.empty() ? where : entry.source + ", " + where;
}

std::string spokenText(const RecordingEntry& entry) {
    std::string text = entry.name();
    const auto add = [&](const std::string& part) { text += ", " + part; };
    if (entry.createdAt) add(dateText(*entry.createdAt));
    if (entry.duration) add("Länge " + lengthText(*entry.duration));
    if (entry.bytes) add("Größe " + byteText(*entry.bytes));
    for (const Badge& badge : badgesOf(entry)) add(badge.text);
    if (!entry.fault.empty()) add(entry.fault);
    return text;
}

namespace {

// ", 3,4 GB"; empty until it is known of all.
std::string sizeAfter(const std::vector<RecordingEntry>& all) {
    std::uint64_t bytes = 0;
    for (const RecordingEntry& entry : all) {
        if (!entry.bytes) return {};
        bytes += *entry.bytes;
    }
    return ", " + byteText(bytes);
}

}  // namespace

std::string countText(const std::vector<RecordingEntry>& all, std::size_t shown) {
    if (all.empty()) return "Keine Aufnahmen";
    const std::string noun = all.size() == 1 ? " Aufnahme" : " Aufnahmen";
    if (shown != all.size()) return std::to_string(shown) + " von " + std::to_string(all.size()) + noun;
    return std::to_string(all.size()) + noun + sizeAfter(all);
}

std::string selectionText(const std::vector<RecordingEntry>& selected) {
    const std::string noun = selected.size() == 1 ? " Aufnahme" : " Aufnahmen";
    return std::to_string(selected.size()) + noun + " ausgewählt" + sizeAfter(selected);
}

}  // namespace lumivastor::app
