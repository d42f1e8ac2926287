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

/// The ids of the programs' windows from front to back: those that the window manager manages, or all that are on the
/// screen where there is no manager.
std::vector<std::uint32_t> readClientWindows(const XConnection& connection);

/// Windows that can be seen, from front to back, with everything that is known about them.
std::vector<platform::Window> readWindows(const XConnection& connection, const MonitorList& monitors);

/// The programs that own windows, each once, in the order of their first windows.
std::vector<platform::RunningApplication> applicationsOf(const std::vector<platform::Window>& windows);

/// Which process each of the server's clients belongs to, by the bits that all ids of a client share. Empty where the
/// server does not tell.
class ClientProcesses {
  public:
    explicit ClientProcesses(const XConnection& connection);

    /// 0 when it is not known.
    int processOf(std::uint32_t resource) const;

  private:
    std::uint32_t clientBits_ = 0;
    std::map<std::uint32_t, int> processes_;
};

/// The class half of a window's WM_CLASS property; nothing when it has none.
std::optional<std::string> className(std::string_view property);

}  // namespace lumivastor::x11
