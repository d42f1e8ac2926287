// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "app/main_window_state.h"
#include "app/view_in_force.h"

namespace lumivastor::app {

/// The subject of a hint in the status. The hint is withdrawn when the subject changes.
enum class Hint { microphone, camera, cardSound, source, folder, start };

/// The state of the main window, shared by all objects that show something there. Main thread.
class MainWindowModel {
  public:
    explicit MainWindowModel(ViewInForce& view) : view_(view) {}

    const MainWindowState& state() const { return state_; }
    const MainWindowChoices& choices() const { return state_.choices; }

    /// Applies `change(state)` and shows the new state.
    template <typename Change>
    void update(const Change& change) {
        change(state_);
        view_->show(state_);
    }
    void setStatus(std::string status) {
        update([&](MainWindowState& state) { state.status = std::move(status); });
    }

    /// Shows in the status what is missing or has failed.
    void setHint(Hint about, std::string sentence) {
        hint_ = {about, sentence};
        setStatus(std::move(sentence));
    }
    /// Withdraws a hint about this subject: replaces it with `instead`, unless the status has changed since.
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
