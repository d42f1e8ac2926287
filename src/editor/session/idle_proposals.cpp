// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/idle_proposals.h"

#include <algorithm>
#include <cmath>

#include "base/formatted.h"
#include "base/saturated.h"
#include "render/overview/quiet_stretches.h"

namespace lumivastor::editor {

namespace {

constexpr int kTenths = 10;
constexpr long long kMinute = 60;
constexpr long long kHour = 60 * kMinute;

}  // namespace

std::vector<Interval> idleTimes(const render::RecordingOverview& overview, const model::PointerTrack& track,
                                double duration) {
    std::vector<Interval> idle =
        edit::commonParts(overview.stillStretches, edit::pointerPauses(track.events, duration));
    for (const auto& sound : {overview.systemSound, overview.microphone}) {
        if (sound != nullptr) idle = edit::commonParts(idle, render::quietStretches(*sound, duration));
    }
    return idle;
}

void IdleProposals::propose(std::span<const Interval> idle, std::span<const Interval> kept, std::int64_t fps,
                            const edit::IdleRules& rules) {
    for (const Row& row : rows_) {
        std::erase_if(refused_, [&row](const Interval& each) { return overlaps(each, row.stretch.idle); });
        if (!row.isChosen) refused_.push_back(row.stretch.idle);
    }
    rows_.clear();
    for (const edit::IdleStretch& stretch : edit::idleStretches(idle, kept, fps, rules)) {
        const bool isRefused = std::any_of(refused_.begin(), refused_.end(),
                                           [&stretch](const Interval& each) { return overlaps(each, stretch.idle); });
        rows_.push_back({stretch, !isRefused});
    }
}

void IdleProposals::chooseAll(bool areChosen) {
    for (Row& row : rows_) row.isChosen = areChosen;
}

std::size_t IdleProposals::chosen() const {
    return static_cast<std::size_t>(
        std::count_if(rows_.begin(), rows_.end(), [](const Row& row) { return row.isChosen; }));
}

double IdleProposals::saved() const {
    double sum = 0;
    for (const Row& row : rows_) sum += row.isChosen ? row.saved() : 0;
    return sum;
}

model::ProjectSettings IdleProposals::applied(const model::ProjectSettings& settings) const {
    model::ProjectSettings next = settings;
    for (const Row& row : rows_) {
        if (row.isChosen) next.cuts.push_back({row.stretch.cut.start, row.stretch.cut.end});
    }
    std::stable_sort(next.cuts.begin(), next.cuts.end(),
                     [](const model::CutRange& a, const model::CutRange& b) { return a.start < b.start; });
    return next;
}

std::string idleClock(double seconds) {
    const auto tenths = saturatedRound<long long>(seconds * kTenths);
    const long long whole = tenths / kTenths;
    const std::string rest = formatted("%02lld.%lld", whole % kMinute, tenths % kTenths);
    if (whole < kHour) return formatted("%lld:", whole / kMinute) + rest;
    return formatted("%lld:%02lld:", whole / kHour, whole % kHour / kMinute) + rest;
}

std::string idleLength(double seconds) {
    const auto tenths = saturatedRound<long long>(seconds * kTenths);
    if (tenths < kMinute * kTenths) return formatted("%lld.%lld s", tenths / kTenths, tenths % kTenths);
    const auto whole = saturatedRound<long long>(seconds);
    return formatted("%lld:%02lld min", whole / kMinute, whole % kMinute);
}

std::string idleSummary(const IdleProposals& proposals) {
    const std::size_t all = proposals.rows().size();
    if (all == 0) return "Kein Leerlauf gefunden.";
    const std::size_t chosen = proposals.chosen();
    const std::string counts = formatted("%zu von %zu %s gewählt", chosen, all, all == 1 ? "Stelle" : "Stellen");
    if (chosen == 0) return counts + ".";
    return counts + ", das Video wird " + idleLength(proposals.saved()) + " kürzer.";
}

}  // namespace lumivastor::editor
