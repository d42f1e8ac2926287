// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace lumivastor::x11 {

/// Converts the server's times, 32-bit milliseconds that wrap after 49.7 days, to host clock seconds. Most servers use
/// the host clock; for others the offset is measured once.
class ServerTime {
  public:
    /// The server reported `serverMilliseconds` between these two host times (seconds).
    ServerTime(std::uint32_t serverMilliseconds, double hostBefore, double hostAfter);

    /// The host time of an event that arrived at `hostNow`; never later than `hostNow`.
    double hostSeconds(std::uint32_t serverMilliseconds, double hostNow) const;
    /// Seconds by which the server's clock is ahead of the host clock; 0 when they are the same.
    double offset() const { return offset_; }

  private:
    double offset_ = 0;
};

}  // namespace lumivastor::x11
