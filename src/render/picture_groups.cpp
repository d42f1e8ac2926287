// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/picture_groups.h"

#include <cmath>
#include <cstddef>
#include <optional>

#include "base/precondition.h"
#include "render/export_plan.h"
#include "render/read_ahead.h"

namespace lumivastor::render {

namespace {

// Cuts that follow each other faster share a group: each costs a key picture, which has the size of dozens of others.
constexpr double kLeastSeconds = 0.5;

struct Place {
    std::size_t segment = 0;
    double evenSeconds = 0;

    bool operator==(const Place&) const = default;
};

// Segments are passed through in order; `segment` moves on with them.
Place placeOf(std::span<const ShownSegment> segments, double t, std::size_t& segment) {
    while (segment + 1 < segments.size() && segments[segment + 1].outputStart <= t + kSameTime) ++segment;
    const double source = segments.empty() ? t : segments[segment].sourceStart + (t - segments[segment].outputStart);
    return {segment, std::floor((source + kSameTime) / kGroupSeconds)};
}

// A picture that is alone joins the group behind it, or takes a picture from that.
void joinSinglePictures(std::vector<PictureGroup>& groups, int most) {
    for (std::size_t i = 0; i + 1 < groups.size(); ++i) {
        if (groups[i].count > 1) continue;
        if (groups[i + 1].count < most) {
            groups[i].count += groups[i + 1].count;
            groups.erase(groups.begin() + static_cast<std::ptrdiff_t>(i) + 1);
        } else {
            ++groups[i].count;
            ++groups[i + 1].first;
            --groups[i + 1].count;
        }
    }
}

}  // namespace

std::vector<PictureGroup> pictureGroups(std::span<const ShownSegment> segments, std::int64_t fps, std::int64_t total) {
    precondition(fps > 0 && total > 0, "a film has pictures");
    const int most = static_cast<int>(kGroupSeconds) * static_cast<int>(fps);
    const auto least = static_cast<int>(kLeastSeconds * static_cast<double>(fps));
    std::vector<PictureGroup> groups;
    std::size_t segment = 0;
    std::optional<Place> last;
    for (std::int64_t i = 0; i < total; ++i) {
        const Place place = placeOf(segments, frameSeconds(i, fps), segment);
        const bool isCut = last && place.segment != last->segment;
        const bool beginsAnew = isCut ? groups.back().count >= least : place != last;
        if (beginsAnew || groups.back().count == most) groups.push_back({i, 0});
        ++groups.back().count;
        last = place;
    }
    joinSinglePictures(groups, most);
    return groups;
}

}  // namespace lumivastor::render
