// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder_run.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/manual_main_loop.h"

namespace lumivastor::capture {
namespace {

using Thread = RecorderRun::Step::Thread;

class RecorderRuns : public testing::Test {
  protected:
    ~RecorderRuns() override { run_.end(); }

    // What is done, and whether on the main thread. One thing at a time, so no lock is needed.
    std::function<void()> doing(const std::string& what) {
        return [this, what] { done_.push_back(what + (std::this_thread::get_id() == main_ ? " on main" : "")); };
    }
    std::function<void()> failing(const std::string& what) {
        return [does = doing(what)] {
            does();
            throw RecorderError("Nein.");
        };
    }
    RecorderRun::Start start(std::vector<RecorderRun::Step> steps) {
        return {std::move(steps), doing("undo"), doing("undoOnMain")};
    }
    // What the completion gets, with the message of an error.
    std::string startInBackground(RecorderRun::Start start) {
        std::optional<std::string> told;
        run_.start(std::move(start),
                   [&told](const std::optional<RecorderError>& error) { told = error ? error->message() : "started"; });
        EXPECT_TRUE(loop_.runUntil([&told] { return told.has_value(); }));
        return told.value_or("never told");
    }

    const std::thread::id main_ = std::this_thread::get_id();
    std::vector<std::string> done_;
    ManualMainLoop loop_;
    RecorderNotifier notifier_{loop_, "Test"};
    RecorderRun run_{loop_, notifier_, "test.work"};
};

TEST_F(RecorderRuns, EachStepRunsOnItsThreadInOrder) {
    EXPECT_EQ(startInBackground(start({{Thread::any, "", doing("a")},
                                       {Thread::any, "", doing("b")},
                                       {Thread::main, "", doing("c")},
                                       {Thread::any, "", doing("d")}})),
              "started");
    EXPECT_EQ(done_, (std::vector<std::string>{"a", "b", "c on main", "d"}));
}

TEST_F(RecorderRuns, AStartInTheForegroundRunsAllStepsHere) {
    run_.start(start({{Thread::any, "", doing("a")}, {Thread::main, "", doing("b")}}));
    EXPECT_EQ(done_, (std::vector<std::string>{"a on main", "b on main"}));
}

TEST_F(RecorderRuns, AStepThatFailsOnAnyThreadIsUndoneWhereThatBelongs) {
    for (const Thread thread : {Thread::any, Thread::main}) {
        done_.clear();
        EXPECT_EQ(startInBackground(start(
                      {{Thread::any, "", doing("a")}, {thread, "", failing("b")}, {Thread::any, "", doing("never")}})),
                  "Nein.");
        const std::string failed = thread == Thread::main ? "b on main" : "b";
        EXPECT_EQ(done_, (std::vector<std::string>{"a", failed, "undo", "undoOnMain on main"}));
    }
}

TEST_F(RecorderRuns, AStartInTheForegroundThrowsWithEverythingUndone) {
    EXPECT_THROW(run_.start(start({{Thread::any, "", failing("a")}, {Thread::main, "", doing("never")}})),
                 RecorderError);
    EXPECT_EQ(done_, (std::vector<std::string>{"a on main", "undo on main", "undoOnMain on main"}));
}

TEST_F(RecorderRuns, ChecksOnceASecondUntilTheStop) {
    int checks = 0;
    run_.checkEverySecond([&checks] { ++checks; });
    for (int second = 1; second <= 3; ++second) {
        loop_.advance(1);
        EXPECT_EQ(checks, second);
    }
    EXPECT_TRUE(run_.beginStop());
    loop_.advance(5);
    EXPECT_EQ(checks, 3);
    EXPECT_TRUE(run_.isStopped());
    EXPECT_FALSE(run_.beginStop());
}

TEST_F(RecorderRuns, TheOutcomeComesAlsoWhenNothingElseIsToldAnyMore) {
    std::vector<RecordingJob::Outcome> outcomes;
    const auto keep = [&outcomes](const RecordingJob::Outcome& outcome) { outcomes.push_back(outcome); };
    const auto explain = [](const RecorderError& reason) { return RecorderError("Weil: " + reason.message()); };
    run_.finish([] { return RecordingJob::Stats{2, 3}; }, explain, keep);
    run_.finish([]() -> RecordingJob::Stats { throw RecorderError("Nein."); }, explain, keep);
    run_.end();
    loop_.runPending();
    ASSERT_EQ(outcomes.size(), 2u);
    EXPECT_EQ(std::get<RecordingJob::Stats>(outcomes[0]), (RecordingJob::Stats{2, 3}));
    EXPECT_EQ(std::get<RecorderError>(outcomes[1]).message(), "Weil: Nein.");
}

}  // namespace
}  // namespace lumivastor::capture
