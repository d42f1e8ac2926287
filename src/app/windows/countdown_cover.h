// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <optional>

#include "app/main_window_state.h"

class QLabel;

namespace lumivastor::app {

/// The countdown in the main window, for desktops where no panel can lie in the middle of the screen. Covers the whole
/// window and takes its clicks, which cancel.
class CountdownCover final : public QWidget {
  public:
    CountdownCover(QWidget* window, std::function<void()> cancel);

    /// nullopt hides it.
    void show(const std::optional<Countdown>& countdown);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

  private:
    const std::function<void()> cancel_;
    QLabel* number_;
    QLabel* note_;
};

}  // namespace lumivastor::app
