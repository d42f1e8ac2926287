// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor {

/// Seconds since the machine started, from CLOCK_MONOTONIC: the one time base of everything that is recorded. Never
/// jumps and never runs backward. Any thread.
double hostClockSeconds();

}  // namespace lumivastor
