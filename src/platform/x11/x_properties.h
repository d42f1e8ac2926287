// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// A property's value as the server keeps it; empty where it is not set.
struct XProperty {
    std::uint32_t type = 0;
    int format = 0;  // bits of an item: 8, 16 or 32
    std::vector<std::uint8_t> bytes;

    /// The items of a 32-bit property; none for others.
    std::vector<std::uint32_t> numbers() const;
    std::string_view text() const;
};

/// Reads many properties with one wait: ask for all of them first, then fetch in the same order.
class XPropertyRequest {
  public:
    /// At most `bytes` of the value are read: windows belong to other programs, which may put anything there.
    XPropertyRequest(const XConnection& connection, std::uint32_t window, std::uint32_t property,
                     std::uint32_t bytes = 4096);
    XProperty fetch() const;

  private:
    xcb_connection_t* connection_;
    unsigned sequence_;
};

XProperty readProperty(const XConnection& connection, std::uint32_t window, std::uint32_t property,
                       std::uint32_t bytes = 4096);

/// A text property as UTF-8 whatever it claims to be: what is not valid UTF-8 is taken for Latin 1. Ends at the first
/// zero byte.
std::string utf8Text(std::string_view bytes);

}  // namespace lumivastor::x11
