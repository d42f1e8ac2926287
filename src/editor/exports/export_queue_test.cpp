// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/export_queue.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/export_fixture.h"
#include "support/manual_main_loop.h"

namespace lumivastor::editor {
namespace {

class ExportQueueTest : public ExportFixture {
  protected:
    ExportQueueTest() {
        makeRecording(2);
        composition_ = open();
        settings_.exportHeight = 90;  // small is quick
        settings_.save(folder_.path());
    }

    ExportRequest request(const std::string& name) {
        ExportRequest made = exportRequest(*composition_, settings_);
        made.file = folder_ / name;
        return made;
    }
    ExportState stateOf(int id) const { return queue_->list().find(id)->state; }
    bool runToTheEnd() {
        return loop_.runUntil([this] { return !queue_->list().isBusy(); });
    }

    ManualMainLoop loop_;
    std::weak_ptr<void> awake_;
    std::unique_ptr<edit::Composition> composition_;
    std::unique_ptr<ExportQueue> queue_ =
        std::make_unique<ExportQueue>(loop_, ExportQueue::Options{[this] {
                                                                      const auto hold = std::make_shared<int>(0);
                                                                      awake_ = hold;
                                                                      return hold;
                                                                  },
                                                                  [] { return 0.0; }});
};

TEST_F(ExportQueueTest, OneRunsAfterTheOtherAndTheMachineStaysAwake) {
    std::vector<int> ended;
    const auto observation = queue_->observe({{}, [&](const ExportEntry& entry) {
                                                  EXPECT_EQ(entry.state, ExportState::done) << entry.reason;
                                                  ended.push_back(entry.id);
                                              }});
    EXPECT_TRUE(awake_.expired());
    const int first = queue_->add(request("a.mp4"));
    const int second = queue_->add(request("b.mov"));
    EXPECT_EQ(stateOf(first), ExportState::running);
    EXPECT_EQ(stateOf(second), ExportState::waiting);
    EXPECT_FALSE(awake_.expired());
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(ended, (std::vector{first, second}));
    EXPECT_TRUE(awake_.expired());
    EXPECT_TRUE(std::filesystem::exists(folder_ / "a.mp4"));
    EXPECT_TRUE(std::filesystem::exists(folder_ / "b.mov"));
    EXPECT_NEAR(queue_->list().find(second)->seconds, 2, 0.04);
}

TEST_F(ExportQueueTest, WhatWaitsHasTheSettingsItWasAskedForWith) {
    queue_->add(request("a.mp4"));
    settings_.cuts = {{0, 1}};
    const int cut = queue_->add(request("b.mp4"));
    settings_.cuts = {};
    composition_->setSettings(settings_);
    composition_.reset();
    ASSERT_TRUE(runToTheEnd());
    EXPECT_NEAR(queue_->list().find(cut)->seconds, 1, 0.04);
}

TEST_F(ExportQueueTest, TheSameFileIsNotWrittenTwiceAtOnce) {
    queue_->add(request("a.mp4"));
    EXPECT_THROW(queue_->add(request("a.mp4")), RecorderError);
    EXPECT_EQ(queue_->list().entries().size(), 1u);
    ASSERT_TRUE(runToTheEnd());
    queue_->add(request("a.mp4"));
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(queue_->list().entries().back().state, ExportState::done);
}

TEST_F(ExportQueueTest, WhatIsCancelledLeavesNoFileAndTheNextOneRuns) {
    const int running = queue_->add(request("a.mp4"));
    const int waiting = queue_->add(request("b.mp4"));
    const int last = queue_->add(request("c.mp4"));
    queue_->cancel(waiting);
    EXPECT_EQ(stateOf(waiting), ExportState::cancelled);
    queue_->cancel(running);
    queue_->cancel(running);
    queue_->cancel(99);
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(stateOf(running), ExportState::cancelled);
    EXPECT_EQ(stateOf(last), ExportState::done);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.mp4"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "b.mp4"));
}

TEST_F(ExportQueueTest, AFailureIsKeptAndTheNextOneRuns) {
    ExportRequest nowhere = request("a.mp4");
    nowhere.file = folder_ / "missing" / "a.mp4";
    const int failed = queue_->add(nowhere);
    const int next = queue_->add(request("b.mp4"));
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(stateOf(failed), ExportState::failed);
    EXPECT_NE(queue_->list().find(failed)->reason.find("a.mp4 konnte nicht angelegt werden"), std::string::npos);
    EXPECT_EQ(stateOf(next), ExportState::done);
}

TEST_F(ExportQueueTest, ARecordingIsRenderedByItsOwnSettings) {
    const int id = queue_->addRecording(folder_.path());
    EXPECT_EQ(queue_->addRecording(folder_.path()), id) << "one is enough";
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(stateOf(id), ExportState::done);
    EXPECT_EQ(queue_->list().find(id)->height, 90);
    EXPECT_TRUE(std::filesystem::exists(folder_ / "studio-output.mp4"));
}

TEST_F(ExportQueueTest, ARecordingThatWasNeverOpenedHasTheLookOfNewOnes) {
    model::ProjectSettings look;
    look.padding = 0.1;
    look.exportFormat = model::ExportFormat::mov;
    look.exportHeight = 90;
    look.trimStart = 1;
    const auto asked = [&] { return exportRequest(folder_.path(), look); };
    EXPECT_EQ(asked().composition->settings(), settings_) << "its own document counts";
    std::filesystem::remove(folder_ / "project.json");
    model::ProjectSettings expected;
    expected.padding = 0.1;
    expected.exportFormat = model::ExportFormat::mov;
    expected.exportHeight = 90;
    EXPECT_EQ(asked().composition->settings(), expected);
    EXPECT_EQ(asked().composition->canvasHeight(), 90);
    EXPECT_EQ(asked().file, folder_ / "studio-output.mov");
    EXPECT_FALSE(std::filesystem::exists(folder_ / "project.json")) << "nothing is written for it";
}

TEST_F(ExportQueueTest, ItsEndLeavesNoHalfFile) {
    queue_->add(request("a.mp4"));
    const int waiting = queue_->add(request("b.mp4"));
    queue_->end();
    EXPECT_FALSE(queue_->list().isBusy());
    EXPECT_EQ(stateOf(waiting), ExportState::cancelled);
    EXPECT_TRUE(awake_.expired());
    queue_.reset();
    loop_.runPending();
    for (const auto& each : std::filesystem::directory_iterator(folder_.path())) {
        EXPECT_FALSE(each.path().filename().string().starts_with(".lumivastor-export-"));
    }
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.mp4"));
}

TEST_F(ExportQueueTest, AnObserverMayEndWhileItIsCalled) {
    std::shared_ptr<void> observation;
    int calls = 0;
    observation = queue_->observe({[&] {
                                       ++calls;
                                       observation.reset();
                                   },
                                   {}});
    queue_->add(request("a.mp4"));
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(calls, 1);
}

TEST_F(ExportQueueTest, OtherFormsHaveTheirSize) {
    ExportRequest gif = request("a.gif");
    gif.form = render::FilmForm::gif;
    gif.animation.width = 80;
    const int id = queue_->add(gif);
    EXPECT_EQ(queue_->list().find(id)->width, 80);
    EXPECT_EQ(queue_->list().find(id)->height, 45);
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(stateOf(id), ExportState::done) << queue_->list().find(id)->reason;
}

}  // namespace
}  // namespace lumivastor::editor
