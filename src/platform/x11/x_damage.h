// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "platform/pictures/pixel_rect.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// The server's book about what was painted into one window and all inside it. One thread.
class XDamage {
  public:
    /// Nothing counts as painted yet.
    XDamage(const XConnection& connection, std::uint32_t window);
    ~XDamage();
    XDamage(const XDamage&) = delete;
    XDamage& operator=(const XDamage&) = delete;

    std::uint32_t id() const { return damage_; }
    /// The server told that there is something to collect.
    void notify() { isNotified_ = true; }
    bool isNotified() const { return isNotified_; }
    /// What was painted since the last time, in the window's pixels.
    std::vector<platform::PixelRect> collect();

  private:
    const XConnection& connection_;
    const std::uint32_t damage_;
    const std::uint32_t region_;
    bool isNotified_ = false;
};

}  // namespace lumivastor::x11
