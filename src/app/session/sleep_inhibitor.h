// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

namespace lumivastor::app {

/// Keeps the machine awake and its screen unlocked. Where the desktop offers no way to ask for that, nothing happens.
/// Main thread.
class SleepInhibitor {
  public:
    /// Ends when it is destroyed; before its inhibitor.
    class Hold {
      public:
        virtual ~Hold() = default;
    };

    virtual ~SleepInhibitor() = default;

    /// `reason` is a German sentence that the desktop may show.
    [[nodiscard]] virtual std::unique_ptr<Hold> inhibit(const std::string& reason) = 0;
};

}  // namespace lumivastor::app
