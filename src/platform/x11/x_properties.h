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

/// A property's value on the server; empty when it is not set.
struct XProperty {
    std::uint32_t type = 0;
    int format = 0;  // bits of an item: 8, 16 or 32
    std::vector<std::uint8_t> bytes;

    /// The items of a 32-bit property; empty for other formats.
    std::vector<std::uint32_t> numbers() const;
    std::string_view text() const;
};

/// Reads several properties with one round trip: make all requests first, then fetch in the same order.
class XPropertyRequest {
  public:
    /// Reads at most `bytes` of the value: windows belong to other programs, which may store anything there.
    XPropertyRequest(const XConnection& connection, std::uint32_t window, std::uint32_t property,
                     std::uint32_t bytes = 4096);
    XProperty fetch() const;

  private:
    xcb_connection_t* connection_;
    unsigned sequence_;
};

XProperty readProperty(const XConnection& connection, std::uint32_t window, std::uint32_t property,
                       std::uint32_t bytes = 4096);

/// A text property as UTF-8, whatever its type: invalid UTF-8 is read as Latin 1. Ends at the first zero byte.
std::string utf8Text(std::string_view bytes);

}  // namespace lumivastor::x11
