// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "app/main_window_state.h"
#include "app/view_in_force.h"

namespace lumivastor::app {

/// What a hint in the status is about: when that changes, the hint no longer holds.
enum class Hint { microphone, camera, source, folder, start };

/// What the main window shows, shared by those who have something to say there. Main thread.
class MainWindowModel {
  public:
    explicit MainWindowModel(ViewInForce& view) : view_(view) {}

    const MainWindowState& state() const { return state_; }
    const MainWindowChoices& choices() const { return state_.choices; }

    /// Changes the state by `change(state)` and shows it.
    template <typename Change>
    void update(const Change& change) {
        change(state_);
        view_->show(state_);
    }
    void setStatus(std::string status) {
        update([&](MainWindowState& state) { state.status = std::move(status); });
    }

    /// Says in the status what is missing or has failed.
    void setHint(Hint about, std::string sentence) {
        hint_ = {about, sentence};
        setStatus(std::move(sentence));
    }
    /// A hint about this no longer holds: `instead` takes its place, unless something else was said meanwhile.
    void withdrawHint(Hint about, const std::string& instead) {
        if (!hint_ || hint_->about != about) return;
        const bool stands = state_.status == hint_->sentence;
        hint_.reset();
        if (stands) setStatus(instead);
    }

  private:
    struct ShownHint {
        Hint about;
        std::string sentence;
    };

    ViewInForce& view_;
    MainWindowState state_;
    std::optional<ShownHint> hint_;
};

}  // namespace lumivastor::app
