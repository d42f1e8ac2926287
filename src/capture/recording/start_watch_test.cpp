// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/start_watch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/manual_main_loop.h"

namespace lumivastor::capture {
namespace {

class StartWatches : public testing::Test {
  protected:
    StartWatches() {
        watch_.onSlowStep([this](const std::string& what) { told_.push_back(what); });
    }

    ManualMainLoop loop_;
    std::vector<std::string> told_;
    StartWatch watch_{loop_};
};

TEST_F(StartWatches, AStepThatTakesLongIsToldOnce) {
    watch_.begin();
    watch_.step("Öffne die Kamera …");
    loop_.advance(StartWatch::kLook);
    EXPECT_TRUE(told_.empty()) << "it may have begun just now";
    loop_.advance(StartWatch::kLook);
    EXPECT_EQ(told_, (std::vector<std::string>{"Öffne die Kamera …"}));
    loop_.advance(10);
    EXPECT_EQ(told_.size(), 1u);
    watch_.step("Suche einen Encoder …");
    loop_.advance(2 * StartWatch::kLook);
    EXPECT_EQ(told_, (std::vector<std::string>{"Öffne die Kamera …", "Suche einen Encoder …"}));
}

TEST_F(StartWatches, ShortStepsAreNotTold) {
    watch_.begin();
    for (int i = 0; i < 20; ++i) {
        watch_.step("Schritt …");
        loop_.advance(StartWatch::kLook);
    }
    watch_.step("");
    loop_.advance(10);
    EXPECT_TRUE(told_.empty());
}

TEST_F(StartWatches, NothingIsToldBeforeItBeginsAndAfterItEnds) {
    watch_.step("Öffne die Kamera …");
    loop_.advance(10);
    watch_.begin();
    watch_.end();
    loop_.advance(10);
    EXPECT_TRUE(told_.empty());
}

TEST_F(StartWatches, TheCallbackMayEndIt) {
    watch_.onSlowStep([this](const std::string& what) {
        watch_.onSlowStep(nullptr);
        watch_.end();
        told_.push_back(what);
    });
    watch_.begin();
    watch_.step("Öffne die Kamera …");
    loop_.advance(5);
    EXPECT_EQ(told_.size(), 1u);
}

}  // namespace
}  // namespace lumivastor::capture
