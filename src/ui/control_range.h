// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor::ui {

/// Where a slider begins and ends.
struct ControlRange {
    double least, most;
};

}  // namespace lumivastor::ui
