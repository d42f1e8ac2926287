// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace lumivastor::app {

/// What is remembered from one run to the next. Main thread.
class Preferences {
  public:
    virtual ~Preferences() = default;

    /// Key "autoZoomsEnabled"; nothing when it was never set.
    virtual std::optional<bool> autoZoomsEnabled() const = 0;
    virtual void setAutoZoomsEnabled(bool enabled) = 0;
};

}  // namespace lumivastor::app
