// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "app/session/sleep_inhibitor.h"

namespace lumivastor::app {

/// Inhibits the session's screen saver and the system's login manager over D-Bus. Either may be missing, which is
/// logged once.
class DBusSleepInhibitor final : public SleepInhibitor {
  public:
    DBusSleepInhibitor();
    ~DBusSleepInhibitor() override;

    [[nodiscard]] std::unique_ptr<Hold> inhibit(const std::string& reason) override;

  private:
    class Asked;

    bool hasNoted_ = false;
};

}  // namespace lumivastor::app
