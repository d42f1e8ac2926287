// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_lanes.h"

#include <algorithm>

namespace lumivastor::editor {

namespace {

constexpr double kTicks = 4;  // below the ruler's labels
constexpr double kGap = 2;
constexpr double kLeastZooms = 16;
constexpr double kPictures = 34;
constexpr double kSound = 16;
constexpr double kClicks = 12;

}  // namespace

StripLanes layOutLanes(const StripData& data, double textHeight) {
    StripLanes lanes;
    double y = 0;
    const auto add = [&y](Lane& lane, double height) {
        lane = {y, height};
        y += height + kGap;
    };
    add(lanes.ruler, textHeight + kTicks);
    const double top = y;
    y += kGap;
    // A zoom's label has the type of the ruler's.
    add(lanes.zooms, std::max(textHeight + 2, kLeastZooms));
    if (data.pictures) add(lanes.pictures, kPictures);
    if (data.systemSound) add(lanes.systemSound, kSound);
    if (data.microphone) add(lanes.microphone, kSound);
    add(lanes.clicks, kClicks);
    lanes.track = {top, y - top};
    lanes.height = y;
    return lanes;
}

}  // namespace lumivastor::editor
