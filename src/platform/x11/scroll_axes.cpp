// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/scroll_axes.h"

#include <algorithm>

namespace lumivastor::x11 {

std::pair<double, double> ScrollAxes::notches(int device, std::span<const std::pair<int, double>> valuators) const {
    const auto found = devices_.find(device);
    if (found == devices_.end()) return {0, 0};
    double right = 0;
    double down = 0;
    for (const auto& [number, value] : valuators) {
        for (const Axis& axis : found->second) {
            if (axis.number != number || axis.increment == 0) continue;
            (axis.isHorizontal ? right : down) += value / axis.increment;
        }
    }
    return {right, down};
}

}  // namespace lumivastor::x11
