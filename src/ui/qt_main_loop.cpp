// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/qt_main_loop.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMetaObject>
#include <QTimer>
#include <chrono>
#include <thread>
#include <utility>

#include "base/saturated.h"

namespace lumivastor::ui {

namespace {

class QtTimer final : public MainLoop::Timer {
  public:
    QtTimer(double seconds, std::function<void()> work) : timer_(new QTimer) {
        timer_->setTimerType(Qt::PreciseTimer);
        timer_->setInterval(saturatedRound<int>(seconds * 1000));
        // The work may end its own timer, and goes on to its end then.
        const auto shared = std::make_shared<std::function<void()>>(std::move(work));
        QObject::connect(timer_, &QTimer::timeout, timer_, [shared] {
            const auto running = shared;  // NOLINT(performance-unnecessary-copy-initialization)
            (*running)();
        });
        timer_->start();
    }
    ~QtTimer() override {
        // Possibly from within its own timeout.
        timer_->stop();
        timer_->disconnect();
        timer_->deleteLater();
    }
    QtTimer(const QtTimer&) = delete;
    QtTimer& operator=(const QtTimer&) = delete;

  private:
    QTimer* timer_;
};

}  // namespace

QtMainLoop::QtMainLoop() = default;
QtMainLoop::~QtMainLoop() = default;

void QtMainLoop::async(std::function<void()> work) {
    QMetaObject::invokeMethod(&receiver_, std::move(work), Qt::QueuedConnection);
}

void QtMainLoop::runDetached(const std::function<bool()>& done) {
    constexpr auto kPause = std::chrono::milliseconds(5);
    for (;;) {
        QCoreApplication::sendPostedEvents(&receiver_, QEvent::MetaCall);
        if (done()) return;
        std::this_thread::sleep_for(kPause);
    }
}

std::unique_ptr<MainLoop::Timer> QtMainLoop::every(double seconds, std::function<void()> work) {
    return std::make_unique<QtTimer>(seconds, std::move(work));
}

}  // namespace lumivastor::ui
