// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace lumivastor::app {

/// Settings that survive the end of the program. Main thread.
class Preferences {
  public:
    virtual ~Preferences() = default;

    /// Key "autoZoomsEnabled"; nullopt when it was never set.
    virtual std::optional<bool> autoZoomsEnabled() const = 0;
    virtual void setAutoZoomsEnabled(bool enabled) = 0;
};

}  // namespace lumivastor::app
