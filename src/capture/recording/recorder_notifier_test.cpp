// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder_notifier.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/manual_main_loop.h"

namespace lumivastor::capture {
namespace {

struct Owner {
    explicit Owner(MainLoop& mainLoop) : notifier(mainLoop, "Test") {
        notifier.onError([this](const RecorderError& reason) { told.push_back(reason.message()); });
        notifier.onNotice([this](const std::string& sentence) { told.push_back(sentence); });
    }
    std::vector<std::string> told;
    RecorderNotifier notifier;
};

TEST(RecorderNotifier, ArriveOnTheMainThreadInOrder) {
    ManualMainLoop loop;
    Owner owner(loop);
    owner.notifier.notice("Ohne Kamera.");
    owner.notifier.giveUp(RecorderError("Das Fenster ist zu."));
    EXPECT_TRUE(owner.told.empty());
    loop.runPending();
    EXPECT_EQ(owner.told, (std::vector<std::string>{"Ohne Kamera.", "Das Fenster ist zu."}));
}

TEST(RecorderNotifier, GivingUpIsToldOnce) {
    ManualMainLoop loop;
    Owner owner(loop);
    owner.notifier.giveUp(RecorderError("erstens"));
    owner.notifier.giveUp(RecorderError("zweitens"));
    loop.runPending();
    EXPECT_EQ(owner.told, std::vector<std::string>{"erstens"});
}

TEST(RecorderNotifier, OnceItIsBeingStoppedOnlyNoticesAreNews) {
    ManualMainLoop loop;
    Owner owner(loop);
    owner.notifier.giveUp(RecorderError("zu spät"));
    owner.notifier.setStopped();
    owner.notifier.notice("Was bis dahin aufgenommen wurde, ist gesichert.");
    loop.runPending();
    EXPECT_EQ(owner.told, std::vector<std::string>{"Was bis dahin aufgenommen wurde, ist gesichert."});
}

TEST(RecorderNotifier, NothingIsToldBehindTheEnd) {
    ManualMainLoop loop;
    std::vector<std::string> told;
    auto notifier = std::make_unique<RecorderNotifier>(loop, "Test");
    notifier->onNotice([&](const std::string& sentence) { told.push_back(sentence); });
    notifier->notice("zu spät");
    notifier.reset();
    loop.runPending();
    EXPECT_TRUE(told.empty());
}

TEST(RecorderNotifier, ACallbackMayDestroyWhatHoldsIt) {
    ManualMainLoop loop;
    auto owner = std::make_unique<Owner>(loop);
    bool isTold = false;
    owner->notifier.onError([&](const RecorderError&) {
        owner.reset();
        isTold = true;
    });
    owner->notifier.giveUp(RecorderError("Ende"));
    loop.runPending();
    EXPECT_TRUE(isTold);
    EXPECT_EQ(owner, nullptr);
}

}  // namespace
}  // namespace lumivastor::capture
