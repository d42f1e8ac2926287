// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace lumivastor::x11 {

/// Turns the server's times, milliseconds in 32 bits that begin again after 49.7 days, into host clock seconds. On the
/// usual servers both count from the same moment; others are off by a fixed distance that is measured once.
class ServerTime {
  public:
    /// The server said `serverMilliseconds` between these two host times (seconds).
    ServerTime(std::uint32_t serverMilliseconds, double hostBefore, double hostAfter);

    /// Of an event that arrived at `hostNow`; never later than that.
    double hostSeconds(std::uint32_t serverMilliseconds, double hostNow) const;
    /// What the server's clock is ahead, seconds; 0 when it is the host clock itself.
    double offset() const { return offset_; }

  private:
    double offset_ = 0;
};

}  // namespace lumivastor::x11
