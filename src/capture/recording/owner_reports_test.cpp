// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/owner_reports.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/manual_main_loop.h"

namespace lumivastor::capture {
namespace {

struct Owner {
    explicit Owner(MainLoop& mainLoop) : reports(mainLoop, "Test", onError, onNotice) {
        onError = [this](const RecorderError& reason) { told.push_back(reason.message()); };
        onNotice = [this](const std::string& sentence) { told.push_back(sentence); };
    }
    std::vector<std::string> told;
    OwnerReports::ErrorCallback onError;
    OwnerReports::NoticeCallback onNotice;
    OwnerReports reports;
};

TEST(OwnerReports, ArriveOnTheMainThreadInOrder) {
    ManualMainLoop loop;
    Owner owner(loop);
    owner.reports.notice("Ohne Kamera.");
    owner.reports.giveUp(RecorderError("Das Fenster ist zu."));
    EXPECT_TRUE(owner.told.empty());
    loop.runPending();
    EXPECT_EQ(owner.told, (std::vector<std::string>{"Ohne Kamera.", "Das Fenster ist zu."}));
}

TEST(OwnerReports, GivingUpIsToldOnce) {
    ManualMainLoop loop;
    Owner owner(loop);
    owner.reports.giveUp(RecorderError("erstens"));
    owner.reports.giveUp(RecorderError("zweitens"));
    loop.runPending();
    EXPECT_EQ(owner.told, std::vector<std::string>{"erstens"});
}

TEST(OwnerReports, OnceItIsBeingStoppedOnlyNoticesAreNews) {
    ManualMainLoop loop;
    Owner owner(loop);
    owner.reports.giveUp(RecorderError("zu spät"));
    owner.reports.setStopped();
    owner.reports.notice("Was bis dahin aufgenommen wurde, ist gesichert.");
    loop.runPending();
    EXPECT_EQ(owner.told, std::vector<std::string>{"Was bis dahin aufgenommen wurde, ist gesichert."});
}

TEST(OwnerReports, NothingIsToldBehindTheEnd) {
    ManualMainLoop loop;
    std::vector<std::string> told;
    OwnerReports::ErrorCallback onError;
    OwnerReports::NoticeCallback onNotice = [&](const std::string& sentence) { told.push_back(sentence); };
    auto reports = std::make_unique<OwnerReports>(loop, "Test", onError, onNotice);
    reports->notice("zu spät");
    reports.reset();
    loop.runPending();
    EXPECT_TRUE(told.empty());
}

TEST(OwnerReports, ACallbackMayDestroyWhatHoldsIt) {
    ManualMainLoop loop;
    auto owner = std::make_unique<Owner>(loop);
    bool isTold = false;
    owner->onError = [&](const RecorderError&) {
        owner.reset();
        isTold = true;
    };
    owner->reports.giveUp(RecorderError("Ende"));
    loop.runPending();
    EXPECT_TRUE(isTold);
    EXPECT_EQ(owner, nullptr);
}

}  // namespace
}  // namespace lumivastor::capture
