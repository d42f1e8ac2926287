// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>
#include <memory>

// Windows for tests, without a display unless QT_QPA_PLATFORM names one. Part of every test binary that shows windows.

namespace lumivastor {
namespace {

class QtApplication final : public testing::Environment {
  public:
    void SetUp() override {
        // NOLINTBEGIN(concurrency-mt-unsafe): no other thread is running yet
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
        // No test depends on what runs in the developer's session.
        setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
        // NOLINTEND(concurrency-mt-unsafe)
        application_ = std::make_unique<QApplication>(arguments_, words_);
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void TearDown() override { application_.reset(); }

  private:
    int arguments_ = 1;
    char name_[5] = "test";
    char* words_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> application_;
};

[[maybe_unused]] const auto* const environment = testing::AddGlobalTestEnvironment(new QtApplication);

}  // namespace
}  // namespace lumivastor
