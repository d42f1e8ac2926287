// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/region_planner.h"

#include <algorithm>

namespace lumivastor::media {

namespace {

constexpr int kMb = 16;
// Fewer changed macroblocks are coded sooner than the search takes.
constexpr int kWorthLooking = 40;
// More would make the first picture behind the encoder's too large.
constexpr std::ptrdiff_t kMostSharpened = 250;

}  // namespace

RegionPlanner::RegionPlanner(int width, int height, const RegionPlannerSettings& settings)
    : columns_((width + kMb - 1) / kMb), rows_((height + kMb - 1) / kMb), settings_(settings) {
    const auto count = static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_);
    changed_.assign(count, 0);
    coarse_.assign(count, 0);
    if (!settings.camera) return;
    const PixelRect& camera = *settings.camera;
    inCamera_.assign(count, 0);
    for (int y = 0; y < rows_; ++y) {
        for (int x = 0; x < columns_; ++x) {
            const bool touches = kMb * x < camera.x + camera.width && kMb * (x + 1) > camera.x &&
                                 kMb * y < camera.y + camera.height && kMb * (y + 1) > camera.y;
            inCamera_[static_cast<std::size_t>(y * columns_ + x)] = touches ? 1 : 0;
        }
    }
}

RegionPlanner::Changes RegionPlanner::look(const imaging::YuvPicture& source, const imaging::YuvPicture& before,
                                           const imaging::KnownDamage& damage, bool looksForScroll) {
    Changes changes;
    changes.changed = markChanges(source, before, damage, changed_);
    changes.toCode = changes.changed;
    scroll_.reset();
    blurs_ = false;
    if (!looksForScroll || settings_.scrollReach == 0 || changes.changed < kWorthLooking) return changes;
    scroll_ = findScroll(source, before, changed_, settings_.scrollReach);
    if (!scroll_) return changes;
    moved_.assign(changed_.size(), 0);
    for (std::size_t mb = 0; mb < changed_.size(); ++mb) {
        const int x = static_cast<int>(mb) % columns_;
        const int y = static_cast<int>(mb) / columns_;
        if (changed_[mb] == 0) continue;
        const Move move = findMove(source, before, x, y, *scroll_);
        if (move == Move::none) continue;
        moved_[mb] = 1;
        blurs_ = blurs_ || move == Move::faint;
        --changes.toCode;
    }
    return changes;
}

RegionPlan RegionPlanner::plan(const imaging::YuvPicture& source, const imaging::YuvPicture* base, int qp) {
    isBlurred_ = isBlurred_ || blurs_;
    RegionPlan plan;
    plan.kinds.assign(changed_.size(), MacroblockKind::skipped);
    if (scroll_) plan.displacements.assign(changed_.size(), *scroll_);
    if (!inCamera_.empty()) plan.qps.assign(changed_.size(), static_cast<std::uint8_t>(qp));
    const bool sharpens = base == nullptr && std::count(coarse_.begin(), coarse_.end(), 1) <= kMostSharpened;
    for (std::size_t mb = 0; mb < changed_.size(); ++mb) {
        if (!inCamera_.empty() && inCamera_[mb] != 0) plan.qps[mb] = static_cast<std::uint8_t>(settings_.cameraQp);
        if (sharpens && coarse_[mb] != 0) {
            plan.kinds[mb] = MacroblockKind::coded;
        } else if (changed_[mb] != 0) {
            const int x = static_cast<int>(mb) % columns_;
            const int y = static_cast<int>(mb) / columns_;
            const bool isBase = base != nullptr && coarse_[mb] == 0 && isSame(source, *base, x, y);
            const bool isMoved = scroll_ && moved_[mb] != 0;
            plan.kinds[mb] = isBase ? MacroblockKind::base : isMoved ? MacroblockKind::moved : MacroblockKind::coded;
        }
    }
    return plan;
}

void RegionPlanner::encoderTook(bool startsOver) {
    isBlurred_ = false;
    if (startsOver) {
        std::fill(coarse_.begin(), coarse_.end(), std::uint8_t{0});
        return;
    }
    for (std::size_t mb = 0; mb < coarse_.size(); ++mb) coarse_[mb] |= changed_[mb];
}

}  // namespace lumivastor::media
