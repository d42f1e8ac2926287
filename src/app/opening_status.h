// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "app/main_window_model.h"
#include "base/after.h"
#include "base/main_loop.h"

namespace lumivastor::app {

inline constexpr const char* kOpeningCamera = "Öffne die Kamera …";

/// Shows in the status what is being opened, if that takes longer than a moment, and afterwards what was there before.
/// Main thread.
class OpeningStatus {
  public:
    static constexpr double kMoment = 0.5;  // seconds

    OpeningStatus(MainLoop& mainLoop, MainWindowModel& window) : mainLoop_(mainLoop), window_(window) {}

    void begin(std::string text) {
        end();
        timer_ = after(mainLoop_, kMoment, [this, text = std::move(text)] {
            before_ = window_.state().status;
            shown_ = text;
            window_.setStatus(text);
        });
    }
    void end() {
        timer_.reset();
        const std::string shown = std::exchange(shown_, "");
        if (!shown.empty() && window_.state().status == shown) window_.setStatus(before_);
    }

  private:
    MainLoop& mainLoop_;
    MainWindowModel& window_;
    std::unique_ptr<MainLoop::Timer> timer_;
    std::string before_;
    std::string shown_;  // empty while nothing is shown
};

}  // namespace lumivastor::app
