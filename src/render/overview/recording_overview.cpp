// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/recording_overview.h"

#include <algorithm>

namespace lumivastor::render {

const SmallPicture* RecordingOverview::pictureAt(double seconds) const {
    if (pictures.empty()) return nullptr;
    const auto after = std::upper_bound(pictures.begin(), pictures.end(), seconds,
                                        [](double t, const SmallPicture& picture) { return t < picture.seconds; });
    return after == pictures.begin() ? &pictures.front() : &*(after - 1);
}

}  // namespace lumivastor::render
