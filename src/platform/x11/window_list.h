// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/shareable_content.h"
#include "platform/x11/monitors.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// The ids of the programs' windows from front to back: those that the window manager lists, or without a manager all
/// mapped ones.
std::vector<std::uint32_t> readClientWindows(const XConnection& connection);

/// The visible windows from front to back, with all their properties.
std::vector<platform::Window> readWindows(const XConnection& connection, const MonitorList& monitors);

/// The programs that own windows, each once, in the order of their first windows.
std::vector<platform::RunningApplication> applicationsOf(const std::vector<platform::Window>& windows);

/// The process of each of the server's clients, by the bits that all resource ids of a client share. Empty when the
/// server does not support this.
class ClientProcesses {
  public:
    explicit ClientProcesses(const XConnection& connection);

    /// 0 when unknown.
    int processOf(std::uint32_t resource) const;

  private:
    std::uint32_t clientBits_ = 0;
    std::map<std::uint32_t, int> processes_;
};

/// The class part of a WM_CLASS property; nullopt when it has none.
std::optional<std::string> className(std::string_view property);

}  // namespace lumivastor::x11
