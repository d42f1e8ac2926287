// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/app_view.h"

namespace lumivastor::app {

/// Holds the current view, which can be replaced. Main thread.
class ViewInForce {
  public:
    explicit ViewInForce(AppView& view) : view_(&view) {}
    ViewInForce(const ViewInForce&) = delete;
    ViewInForce& operator=(const ViewInForce&) = delete;

    AppView* operator->() const { return view_; }
    void replace(AppView& other) { view_ = &other; }

  private:
    AppView* view_;
};

}  // namespace lumivastor::app
