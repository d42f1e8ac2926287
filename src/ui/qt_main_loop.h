// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <functional>
#include <memory>

#include "base/main_loop.h"

namespace lumivastor::ui {

/// The main loop with Qt's event loop behind it. Made and destroyed on the thread of the QApplication; whoever hands
/// work over from other threads has stopped doing so by then.
class QtMainLoop final : public MainLoop {
  public:
    QtMainLoop();
    ~QtMainLoop() override;

    /// What is still waiting when the loop is destroyed does not run.
    void async(std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<Timer> every(double seconds, std::function<void()> work) override;

    /// Runs what is handed over until `done` says so, and nothing else of Qt's: no timers, and no events of windows.
    /// For the end of a program whose windows are gone, also from within an event. The thread of the QApplication.
    void runDetached(const std::function<bool()>& done);

  private:
    QObject receiver_;
};

}  // namespace lumivastor::ui
