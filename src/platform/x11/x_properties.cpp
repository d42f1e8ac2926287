// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/x_properties.h"

#include <xcb/xcb.h>

#include <cstring>

namespace lumivastor::x11 {
namespace {

// Length of the well-formed UTF-8 sequence at the beginning; 0 when there is none. Overlong forms and surrogates pass:
// they are harmless in displayed text.
std::size_t sequenceLength(std::string_view bytes) {
    const auto first = static_cast<unsigned char>(bytes.front());
    const std::size_t length = first < 0x80         ? 1
                               : (first >> 5) == 6  ? 2
                               : (first >> 4) == 14 ? 3
                               : (first >> 3) == 30 ? 4
                                                    : 0;
    if (length == 0 || length > bytes.size()) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((static_cast<unsigned char>(bytes[i]) >> 6) != 2) return 0;
    }
    return length;
}

bool isUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(bytes);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

// A value that was cut off may end inside a character.
std::string_view withoutHalfCharacter(std::string_view bytes) {
    for (std::size_t back = 1; back <= 3 && back < bytes.size(); ++back) {
        const auto byte = static_cast<unsigned char>(bytes[bytes.size() - back]);
        if (byte >= 0xc0) {
            return sequenceLength(bytes.substr(bytes.size() - back)) == 0 ? bytes.substr(0, bytes.size() - back)
                                                                          : bytes;
        }
        if (byte < 0x80) break;
    }
    return bytes;
}

}  // namespace

std::vector<std::uint32_t> XProperty::numbers() const {
    if (format != 32) return {};
    std::vector<std::uint32_t> items(bytes.size() / 4);
    if (!items.empty()) std::memcpy(items.data(), bytes.data(), items.size() * 4);
    return items;
}

std::string_view XProperty::text() const {
    if (format != 8) return {};
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

XPropertyRequest::XPropertyRequest(const XConnection& connection, std::uint32_t window, std::uint32_t property,
                                   std::uint32_t bytes)
    : connection_(connection),
      sequence_(
          xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, (bytes + 3) / 4).sequence) {}

XProperty XPropertyRequest::fetch() const {
    const auto reply = xReply(connection_, xcb_get_property_reply, xcb_get_property_cookie_t{sequence_});
    XProperty property;
    if (!reply || reply->type == XCB_ATOM_NONE) return property;
    property.type = reply->type;
    property.format = reply->format;
    const auto* value = static_cast<const std::uint8_t*>(xcb_get_property_value(reply.get()));
    property.bytes.assign(value, value + xcb_get_property_value_length(reply.get()));
    return property;
}

XProperty readProperty(const XConnection& connection, std::uint32_t window, std::uint32_t property,
                       std::uint32_t bytes) {
    return XPropertyRequest(connection, window, property, bytes).fetch();
}

std::string utf8Text(std::string_view bytes) {
    bytes = bytes.substr(0, bytes.find('\0'));
    const std::string_view whole = withoutHalfCharacter(bytes);
    if (isUtf8(whole)) return std::string(whole);
    std::string text;
    for (const char one : bytes) {
        const auto byte = static_cast<unsigned char>(one);
        if (byte < 0x80) {
            text += one;
        } else {
            text += static_cast<char>(0xc0 | (byte >> 6));
            text += static_cast<char>(0x80 | (byte & 0x3f));
        }
    }
    return text;
}

}  // namespace lumivastor::x11
