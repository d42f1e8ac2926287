// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>

#include "base/interval.h"

namespace lumivastor {

/// The moment whose picture is shown at `moment` by a movie that is shown `shift` seconds later, or earlier if that is
/// below 0; all in seconds. `pictures` is where the movie has pictures when it is not shifted. It still begins there:
/// its first picture fills what the shift leaves open. The last one stays.
inline double shiftedMoment(double moment, double shift, const Interval& pictures) {
    // A time just before the end, at which the last picture is still shown.
    constexpr double kBeforeEnd = 1.0 / 600;
    if (moment < pictures.start) return moment;
    return std::clamp(moment - shift, pictures.start, std::max(pictures.start, pictures.end - kBeforeEnd));
}

}  // namespace lumivastor
