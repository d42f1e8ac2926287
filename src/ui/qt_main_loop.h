// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <functional>
#include <memory>

#include "base/main_loop.h"

namespace lumivastor::ui {

/// The main loop on Qt's event loop. Created and destroyed on the thread of the QApplication. Other threads must not
/// call it any more when it is destroyed.
class QtMainLoop final : public MainLoop {
  public:
    QtMainLoop();
    ~QtMainLoop() override;

    /// Work that still waits when the loop is destroyed does not run.
    void async(std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<Timer> every(double seconds, std::function<void()> work) override;

    /// Runs the work of `async` until `done` returns true, but neither timers nor events of windows. For the end of a
    /// program whose windows are gone; may be called within an event. The thread of the QApplication.
    void runDetached(const std::function<bool()>& done);

  private:
    QObject receiver_;
};

}  // namespace lumivastor::ui
