// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor::ui {

/// The ends of a slider.
struct ControlRange {
    double minimum, maximum;
};

}  // namespace lumivastor::ui
