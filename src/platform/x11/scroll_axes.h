// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <span>
#include <utility>
#include <vector>

namespace lumivastor::x11 {

/// Turns values of the devices' scroll axes into notches.
class ScrollAxes {
  public:
    struct Axis {
        int number = 0;  // of the valuator
        bool isHorizontal = false;
        double increment = 1;  // of one notch; negative for axes in the other direction
    };

    void setDevice(int device, std::vector<Axis> axes) { devices_[device] = std::move(axes); }
    void clear() { devices_.clear(); }
    bool knows(int device) const { return devices_.contains(device); }

    /// The notches (right, down) by which a device scrolls with these valuators, given as number and value.
    std::pair<double, double> notches(int device, std::span<const std::pair<int, double>> valuators) const;

  private:
    std::map<int, std::vector<Axis>> devices_;
};

}  // namespace lumivastor::x11
