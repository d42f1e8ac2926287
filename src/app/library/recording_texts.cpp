// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_texts.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/formatted.h"
#include "base/saturated.h"

namespace lumivastor::app {

namespace {

std::tm localTime(std::time_t time) {
    std::tm local{};
    localtime_r(&time, &local);
    return local;
}

std::string withComma(std::string number) {
    std::replace(number.begin(), number.end(), '.', ',');
    return number;
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

std::string sizeText(std::uint64_t bytes) {
    static constexpr std::array kUnits = {"kB", "MB", "GB", "TB"};
    double number = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    // What would be written as 1000 is 1 of the next unit.
    while (number >= 999.5 && unit + 1 < kUnits.size()) {
        number /= 1000;
        ++unit;
    }
    const int decimals = unit == 0 || number >= 99.95 ? 0 : 1;
    return withComma(formatted("%.*f ", decimals, number)) + kUnits[unit];
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
    if (entry.bytes) add("Größe " + sizeText(*entry.bytes));
    for (const Badge& badge : badgesOf(entry)) add(badge.text);
    if (!entry.fault.empty()) add(entry.fault);
    return text;
}

std::string countText(const std::vector<RecordingEntry>& all, std::size_t shown) {
    if (all.empty()) return "Keine Aufnahmen";
    const std::string noun = all.size() == 1 ? " Aufnahme" : " Aufnahmen";
    if (shown != all.size()) return std::to_string(shown) + " von " + std::to_string(all.size()) + noun;
    std::uint64_t bytes = 0;
    bool isWhole = true;
    for (const RecordingEntry& entry : all) {
        isWhole = isWhole && entry.bytes;
        bytes += entry.bytes.value_or(0);
    }
    return std::to_string(all.size()) + noun + (isWhole ? ", " + sizeText(bytes) : "");
}

}  // namespace lumivastor::app
