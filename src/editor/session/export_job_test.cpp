// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/export_job.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/export_fixture.h"
#include "support/manual_main_loop.h"

namespace lumivastor::editor {
namespace {

class ExportJobTest : public ExportFixture {
  protected:
    ExportJobTest() {
        makeRecording(4);
        composition_ = open();
        settings_.exportHeight = 90;  // small is quick
    }

    std::unique_ptr<ExportJob> start() {
        ExportJob::Callbacks callbacks;
        callbacks.progress = [this](double fraction) {
            EXPECT_GE(fraction, progress_);
            progress_ = fraction;
        };
        callbacks.completion = [this](const render::RenderOutcome& outcome) { outcome_ = outcome; };
        return std::make_unique<ExportJob>(exportRequest(*composition_, settings_), loop_, std::move(callbacks));
    }
    bool outputExists() const { return std::filesystem::exists(folder_ / "studio-output.mp4"); }

    ManualMainLoop loop_;
    std::unique_ptr<edit::Composition> composition_;
    double progress_ = 0;
    std::optional<render::RenderOutcome> outcome_;
};

TEST_F(ExportJobTest, ExportsUnderTheGivenSettingsWhileTheEditorsChange) {
    settings_.cuts = {{1, 3}};
    const auto job = start();
    model::ProjectSettings other;
    other.cuts = {{0, 3.5}};
    composition_->setSettings(other);
    ASSERT_TRUE(loop_.runUntil([this] { return outcome_.has_value(); }));
    const auto* result = std::get_if<render::RenderResult>(&*outcome_);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->seconds, 2);
    EXPECT_EQ(progress_, 1);
    EXPECT_EQ(job->wasCancelled(), false);
    EXPECT_TRUE(outputExists());
}

TEST_F(ExportJobTest, ACancelledJobSaysSoAndLeavesNoFile) {
    const auto job = start();
    job->cancel();
    ASSERT_TRUE(loop_.runUntil([this] { return outcome_.has_value(); }));
    EXPECT_TRUE(job->wasCancelled());
    const auto* error = std::get_if<RecorderError>(&*outcome_);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->message(), "Abgebrochen.");
    EXPECT_FALSE(outputExists());
}

TEST_F(ExportJobTest, AJobThatIsDestroyedTellsNobodyAndLeavesNoFile) {
    start().reset();
    loop_.runPending();
    EXPECT_FALSE(outcome_);
    EXPECT_FALSE(outputExists());
}

TEST_F(ExportJobTest, TheCompletionMayDestroyTheJob) {
    std::unique_ptr<ExportJob> job;
    bool ended = false;
    ExportJob::Callbacks callbacks;
    callbacks.completion = [&](const render::RenderOutcome& outcome) {
        job.reset();
        EXPECT_TRUE(std::holds_alternative<render::RenderResult>(outcome));
        ended = true;
    };
    job = std::make_unique<ExportJob>(exportRequest(*composition_, settings_), loop_, std::move(callbacks));
    ASSERT_TRUE(loop_.runUntil([&] { return ended; }));
}

TEST_F(ExportJobTest, ASizeThatNoMovieHasIsRefused) {
    settings_.exportHeight = 100'000;
    EXPECT_THROW(start(), RecorderError);
}

}  // namespace
}  // namespace lumivastor::editor
