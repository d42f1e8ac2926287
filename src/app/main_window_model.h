#pragma once

#include <string>
#include <utility>

#include "app/app_view.h"
#include "app/main_window_state.h"

namespace lumivastor {

/// What the main window shows, shared by those who have something to say there. Main thread.
class MainWindowModel {
  public:
    explicit MainWindowModel(AppView& view) : view_(view) {}

    const MainWindowState& state() const { return state_; }
    const MainWindowChoices& choices() const { return state_.choices; }

    /// Changes the state by `change(state)` and shows it.
    template <typename Change>
    void update(const Change& change) {
        change(state_);
        view_.show(state_);
    }
    void setStatus(std::string status) {
        update([&](MainWindowState& state) { state.status = std::move(status); });
    }

  private:
    AppView& view_;
    MainWindowState state_;
};

}  // namespace lumivastor
