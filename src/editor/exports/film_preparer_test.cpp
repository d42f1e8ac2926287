// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/film_preparer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <semaphore>
#include <vector>

#include "support/export_fixture.h"
#include "support/manual_main_loop.h"

namespace lumivastor::editor {
namespace {

class FilmPreparerTest : public ExportFixture {
  protected:
    FilmPreparerTest() {
        makeRecording(5);
        settings_.exportHeight = 90;  // small is quick
        composition_ = open();
        settings_.save(folder_.path());
        prepare();
    }
    ~FilmPreparerTest() override { watch_.reset(); }

    void prepare() {
        FilmPreparer::Options options;
        options.filmCache = cache_.path();
        options.isOn = {[this] { return kept_.value_or(true); }, [this](bool isOn) { kept_ = isOn; }};
        options.isOnMains = [this] {
            ++powerQuestions_;
            return isOnMains_;
        };
        options.isRecording = [this] { return isRecording_; };
        options.clock = [this] { return loop_.now(); };
        options.chooseEncoder = [this](const media::VideoSettings&) {
            ++choices_;
            if (isHeld_) held_.acquire();
            return media::softwareExportEncoder("Test");
        };
        preparer_ = std::make_unique<FilmPreparer>(loop_, queue_, std::move(options));
    }
    void openEditor() {
        watch_ = preparer_->watch({[this] { return composition_; }, [this] { return isBusy_; },
                                   [this](double part) { shown_.push_back(part); }});
    }
    void edit() {
        settings_.backgroundRed = settings_.backgroundRed > 0.5 ? 0.2 : 0.8;
        composition_->setSettings(settings_);
        watch_->edited();
    }
    /// Seconds in which nobody does anything.
    void waitQuietly() { loop_.advance(PreparationSchedule::kQuiet + 2); }
    bool runToTheEnd() {
        return loop_.runUntil([this] { return !preparer_->isPreparing() && !queue_.list().isBusy(); });
    }
    /// Exports the film of now; the number of pictures that were there already.
    int takenByAnExport() {
        const int before = count(logText(), "150 Bilder übernommen");
        queue_.add(exportRequest(*composition_, composition_->settings()));
        EXPECT_FALSE(preparer_->isPreparing());
        EXPECT_TRUE(runToTheEnd());
        EXPECT_EQ(queue_.list().entries().back().state, ExportState::done);
        return count(logText(), "150 Bilder übernommen") - before;
    }

    ManualMainLoop loop_;
    TemporaryFolder cache_;
    ExportQueue queue_{loop_, {.clock = [this] { return loop_.now(); }, .filmCache = cache_.path()}};
    std::shared_ptr<edit::Composition> composition_;
    bool isOnMains_ = true;
    bool isRecording_ = false;
    bool isBusy_ = false;
    int powerQuestions_ = 0;
    int choices_ = 0;
    std::atomic<bool> isHeld_ = false;  // preparations wait at their beginning
    std::counting_semaphore<> held_{0};
    std::optional<bool> kept_;
    std::vector<double> shown_;
    std::unique_ptr<FilmPreparer> preparer_;
    std::unique_ptr<FilmPreparer::Watch> watch_;
};

TEST_F(FilmPreparerTest, PreparesWhileNobodyWorksWhatTheExportThenTakes) {
    openEditor();
    EXPECT_FALSE(preparer_->isPreparing());
    waitQuietly();
    ASSERT_TRUE(runToTheEnd());
    EXPECT_TRUE(std::ranges::is_sorted(shown_));
    EXPECT_EQ(shown_.back(), 1);
    EXPECT_EQ(loop_.timers(), 0u) << "there is nothing more to do";
    EXPECT_EQ(takenByAnExport(), 1);
    // It may have taken away what was kept for others: a look does not hurt.
    waitQuietly();
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(shown_.back(), 1);
    EXPECT_EQ(choices_, 1) << "hardware is tried once";
}

TEST_F(FilmPreparerTest, AnExportBeginsAfterItsEnd) {
    openEditor();
    waitQuietly();
    takenByAnExport();
    EXPECT_TRUE(std::filesystem::exists(folder_ / "studio-output.mp4"));
}

TEST_F(FilmPreparerTest, AnEditBeginsAnew) {
    openEditor();
    waitQuietly();
    ASSERT_TRUE(runToTheEnd());
    edit();
    EXPECT_EQ(shown_.back(), 0);
    waitQuietly();
    edit();
    edit();
    EXPECT_EQ(shown_.back(), 0);
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(shown_.back(), 0) << "what the old one still tells is not shown";
    waitQuietly();
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(shown_.back(), 1);
    EXPECT_EQ(takenByAnExport(), 1);
}

TEST_F(FilmPreparerTest, WorkEndsItAndSoDoesEverythingThatNeedsTheMachine) {
    openEditor();
    const std::function<void()> reasons[] = {[this] { watch_->touched(); },
                                             [this] {
                                                 isRecording_ = true;
                                                 loop_.advance(1);
                                             },
                                             [this] {
                                                 isBusy_ = true;
                                                 loop_.advance(1);
                                             },
                                             [this] { preparer_->setOn(false); }, [this] { watch_.reset(); }};
    isHeld_ = true;
    for (const auto& reason : reasons) {
        isRecording_ = isBusy_ = false;
        preparer_->setOn(true);
        // An encoder is chosen for each size.
        settings_.exportHeight += 2;
        edit();
        waitQuietly();
        ASSERT_TRUE(preparer_->isPreparing());
        reason();
        held_.release();
        ASSERT_TRUE(loop_.runUntil([this] { return !preparer_->isPreparing(); }));
    }
    EXPECT_EQ(count(logText(), "Bilder vorbereitet"), 0);
    waitQuietly();
    EXPECT_FALSE(preparer_->isPreparing());
}

TEST_F(FilmPreparerTest, OnABatteryItWaitsAndAsksNowAndThen) {
    isOnMains_ = false;
    openEditor();
    loop_.advance(100);
    EXPECT_FALSE(preparer_->isPreparing());
    EXPECT_GE(powerQuestions_, 3);
    EXPECT_LE(powerQuestions_, 4);
    isOnMains_ = true;
    loop_.advance(31);
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(shown_.back(), 1);
    const int questions = powerQuestions_;
    loop_.advance(100);
    EXPECT_EQ(powerQuestions_, questions) << "there is nothing to prepare";
}

TEST_F(FilmPreparerTest, TheChoiceIsKept) {
    EXPECT_TRUE(preparer_->isOn());
    preparer_->setOn(false);
    EXPECT_EQ(kept_, false);
    prepare();
    EXPECT_FALSE(preparer_->isOn());
    openEditor();
    loop_.advance(100);
    EXPECT_FALSE(preparer_->isPreparing());
    EXPECT_EQ(loop_.timers(), 0u);
    preparer_->setOn(true);
    EXPECT_TRUE(preparer_->isPreparing());
}

TEST_F(FilmPreparerTest, TheEndOfTheProgramEndsItForGood) {
    openEditor();
    waitQuietly();
    preparer_->end();
    EXPECT_FALSE(preparer_->isPreparing());
    watch_->edited();
    loop_.advance(100);
    EXPECT_FALSE(preparer_->isPreparing());
}

TEST_F(FilmPreparerTest, WhatCannotBePreparedIsNotTriedAgain) {
    std::filesystem::remove(folder_ / "source.mov");
    openEditor();
    waitQuietly();
    ASSERT_TRUE(runToTheEnd());
    EXPECT_EQ(count(logText(), "Nicht vorbereitet"), 1);
    loop_.advance(100);
    EXPECT_EQ(count(logText(), "Nicht vorbereitet"), 1);
    EXPECT_TRUE(shown_.empty());
}

}  // namespace
}  // namespace lumivastor::editor
