// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/small_stand_ins.h"

#include <cmath>
#include <optional>
#include <utility>

namespace lumivastor::editor {

playback::SmallStandIns smallStandIns(std::shared_ptr<const render::RecordingOverview> overview) {
    return [overview = std::move(overview)](double seconds,
                                            const Interval& within) -> std::optional<playback::SmallStandIn> {
        const render::SmallPicture* nearest = nullptr;
        for (const render::SmallPicture& picture : overview->pictures) {
            if (!within.contains(picture.seconds)) continue;
            if (nearest != nullptr && std::abs(nearest->seconds - seconds) <= std::abs(picture.seconds - seconds))
                break;
            nearest = &picture;
        }
        if (nearest == nullptr) return std::nullopt;
        return playback::SmallStandIn{imaging::Picture(nearest->pixels), nearest->seconds};
    };
}

}  // namespace lumivastor::editor
