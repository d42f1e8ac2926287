// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/wayland/portal_connection.h"

// What the portal's interfaces have in common.

namespace lumivastor::wayland {

/// Calls `read` for each entry of an array "a{sv}", with the message in front of the variant of this type. It reads all
/// of it or returns false, then the entry is skipped. Returns false when the message is no such array.
bool readEntries(sd_bus_message* message, const std::function<bool(std::string_view key, std::string_view type)>& read);

/// Reads a variant with a text or an object's path. Returns false for other types, and reads nothing then.
bool readText(sd_bus_message* message, std::string_view type, std::string& text);

/// Creates a session of an interface and returns its path; empty when `cancel` was called. Throws as
/// `PortalConnection::ask` does.
std::string createPortalSession(PortalConnection& connection, const std::string& interface);

}  // namespace lumivastor::wayland
