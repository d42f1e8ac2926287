#pragma once

namespace lumivastor {

/// Where a slider begins and ends.
struct ControlRange {
    double least, most;
};

}  // namespace lumivastor
