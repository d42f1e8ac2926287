// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

namespace lumivastor::app {

/// Keeps the machine awake and its screen unlocked. No effect on desktops that do not support it. Main thread.
class SleepInhibitor {
  public:
    /// Destruction ends the inhibition. Must not outlive its inhibitor.
    class Hold {
      public:
        virtual ~Hold() = default;
    };

    virtual ~SleepInhibitor() = default;

    /// `reason` is a German sentence that the desktop may display.
    [[nodiscard]] virtual std::unique_ptr<Hold> inhibit(const std::string& reason) = 0;
};

}  // namespace lumivastor::app
