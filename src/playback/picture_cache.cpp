// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/picture_cache.h"

#include <algorithm>
#include <utility>

namespace lumivastor::playback {

namespace {

bool overlap(const TimeRange& a, const TimeRange& b) {
    return a.start < b.end() && b.start < a.end();
}

// From a moment to a range; 0 within it.
MediaTime distance(const TimeRange& range, const MediaTime& time) {
    if (time < range.start) return range.start - time;
    return time < range.end() ? MediaTime{} : time - range.end();
}

}  // namespace

void PictureCache::setGoals(std::vector<TimeRange> goals, const MediaTime& playhead) {
    goals_ = std::move(goals);
    playhead_ = playhead;
}

const ShownPicture* PictureCache::findBefore(const MediaTime& time) const {
    const auto after = pictures_.upper_bound(time);
    return after == pictures_.begin() ? nullptr : &std::prev(after)->second;
}

const ShownPicture* PictureCache::find(const MediaTime& time) const {
    const ShownPicture* const before = findBefore(time);
    return before != nullptr && time < before->shown.end() ? before : nullptr;
}

const ShownPicture* PictureCache::findNearest(const MediaTime& time, std::span<const TimeRange> within) const {
    const ShownPicture* nearest = nullptr;
    for (const auto& [start, picture] : pictures_) {
        const auto isWithin = [&shown = picture.shown](const TimeRange& one) { return overlap(shown, one); };
        if (!picture.picture || std::none_of(within.begin(), within.end(), isWithin)) continue;
        // The later of two, because the earlier one ends where the moment begins.
        if (nearest == nullptr || distance(picture.shown, time) <= distance(nearest->shown, time)) nearest = &picture;
    }
    return nearest;
}

std::optional<PictureCache::Gap> PictureCache::firstGap() const {
    for (std::size_t goal = 0; goal < goals_.size(); ++goal) {
        MediaTime time = goals_[goal].start;
        while (time < goals_[goal].end()) {
            const ShownPicture* const shown = find(time);
            if (shown == nullptr) return Gap{time, goal};
            time = shown->shown.end();
        }
    }
    return std::nullopt;
}

PictureCache::Rank PictureCache::rankOf(const TimeRange& shown) const {
    const auto goal =
        std::find_if(goals_.begin(), goals_.end(), [&](const TimeRange& one) { return overlap(one, shown); });
    return {static_cast<std::size_t>(goal - goals_.begin()), distance(shown, playhead_)};
}

PictureCache::Pictures::const_iterator PictureCache::leastWanted() const {
    return std::max_element(pictures_.begin(), pictures_.end(), [this](const auto& a, const auto& b) {
        return rankOf(a.second.shown) < rankOf(b.second.shown);
    });
}

bool PictureCache::hasRoomFor(const MediaTime& time, std::size_t bytes) const {
    if (bytes_ + bytes <= budget_) return true;
    const Rank rank = rankOf({time, {1, 1'000'000}});
    std::size_t freed = 0;
    for (const auto& [start, picture] : pictures_) {
        if (rank < rankOf(picture.shown)) freed += picture.bytes;
    }
    return freed == bytes_ || bytes_ - freed + bytes <= budget_;
}

bool PictureCache::insert(ShownPicture picture) {
    const MediaTime start = picture.shown.start;
    if (const auto same = pictures_.find(start); same != pictures_.end()) {
        if (same->second.shown.end() >= picture.shown.end()) return true;
        bytes_ -= same->second.bytes;
        pictures_.erase(same);
    }
    const Rank rank = rankOf(picture.shown);
    while (bytes_ + picture.bytes > budget_ && !pictures_.empty()) {
        const auto worst = leastWanted();
        if (rankOf(worst->second.shown) <= rank) return false;
        bytes_ -= worst->second.bytes;
        pictures_.erase(worst);
    }
    bytes_ += picture.bytes;
    pictures_.emplace(start, std::move(picture));
    return true;
}

}  // namespace lumivastor::playback
