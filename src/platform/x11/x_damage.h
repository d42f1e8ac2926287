// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "base/pixel_rect.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// A damage object of the server: records what is painted into one window and its children. One thread.
class XDamage {
  public:
    /// Starts with no damage.
    XDamage(const XConnection& connection, std::uint32_t window);
    ~XDamage();
    XDamage(const XDamage&) = delete;
    XDamage& operator=(const XDamage&) = delete;

    std::uint32_t id() const { return damage_; }
    /// Call it when the server has reported damage to collect.
    void notify() { isNotified_ = true; }
    bool isNotified() const { return isNotified_; }
    /// What was painted since the last call, in the window's pixels.
    std::vector<PixelRect> collect();

  private:
    const XConnection& connection_;
    const std::uint32_t damage_;
    const std::uint32_t region_;
    bool isNotified_ = false;
};

}  // namespace lumivastor::x11
