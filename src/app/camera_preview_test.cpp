// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/camera_preview.h"

#include <gtest/gtest.h>

#include <future>
#include <new>

#include "support/recorder_rig.h"

namespace lumivastor::app {
namespace {

class CameraPreviewTest : public RecorderRig {
  protected:
    void start() {
        preview_.start([this](const CameraPreview::Outcome& outcome) { outcomes_.push_back(outcome); });
    }

    std::shared_ptr<synthetic::SyntheticDevice> camera_ =
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    CameraPreview preview_{services_};
    std::vector<CameraPreview::Outcome> outcomes_;
};

TEST_F(CameraPreviewTest, ShowsTheCamerasLatestPicture) {
    devices_.setDefaultCamera(camera_);
    start();
    ASSERT_TRUE(loop_.runUntil([this] { return !outcomes_.empty(); }));
    ASSERT_TRUE(outcomes_[0].preview);
    EXPECT_TRUE(camera_->emitPicture(1000, std::uint8_t{77}));
    ASSERT_TRUE(loop_.runUntil([this] { return outcomes_[0].preview->latest() != nullptr; }));
    EXPECT_EQ(outcomes_[0].preview->latest()->pixel(3, 3)[0], 77);
}

TEST_F(CameraPreviewTest, TheCameraIsFreeWhenTheCompletionComes) {
    devices_.setDefaultCamera(camera_);
    start();
    ASSERT_TRUE(loop_.runUntil([this] { return camera_->isRunning(); }));
    bool isFree = false;
    preview_.stop([&] {
        isFree = true;
        EXPECT_FALSE(camera_->isRunning());
    });
    EXPECT_FALSE(preview_.isOn());
    ASSERT_TRUE(loop_.runUntil([&] { return isFree; }));
    // Also where it was off already.
    isFree = false;
    preview_.stop([&] { isFree = true; });
    EXPECT_FALSE(isFree) << "not within the call";
    ASSERT_TRUE(loop_.runUntil([&] { return isFree; }));
}

TEST_F(CameraPreviewTest, StoppingDoesNotWaitForACameraThatIsBeingOpened) {
    std::promise<void> release;
    camera_->holdOpens(release.get_future().share());
    devices_.setDefaultCamera(camera_);
    start();
    bool isFree = false;
    preview_.stop([&] { isFree = true; });
    loop_.runPending();
    EXPECT_FALSE(isFree);
    release.set_value();
    ASSERT_TRUE(loop_.runUntil([&] { return isFree; }));
    EXPECT_FALSE(camera_->isRunning());
    EXPECT_TRUE(outcomes_.empty());
}

TEST_F(CameraPreviewTest, StoppedBeforeTheCameraIsOpenItTellsNothing) {
    devices_.setDefaultCamera(camera_);
    start();
    bool isFree = false;
    preview_.stop([&] { isFree = true; });
    ASSERT_TRUE(loop_.runUntil([&] { return isFree; }));
    EXPECT_TRUE(outcomes_.empty());
    EXPECT_FALSE(camera_->isRunning());
    start();
    ASSERT_TRUE(loop_.runUntil([this] { return !outcomes_.empty(); }));
    EXPECT_TRUE(camera_->isRunning());
}

TEST_F(CameraPreviewTest, SaysWhatIsMissing) {
    start();
    ASSERT_TRUE(loop_.runUntil([this] { return !outcomes_.empty(); }));
    EXPECT_EQ(outcomes_[0].error, "Es wurde keine Kamera gefunden.");
    EXPECT_FALSE(preview_.isOn());
    devices_.setDefaultCamera(camera_);
    camera_->failOpens("Die Kamera ist belegt.");
    start();
    ASSERT_TRUE(loop_.runUntil([this] { return outcomes_.size() == 2; }));
    EXPECT_EQ(outcomes_[1].error, "Die Kamera ist belegt.");
}

TEST_F(CameraPreviewTest, WhateverOpeningThrowsIsSaid) {
    std::promise<void> opening;
    opening.set_exception(std::make_exception_ptr(std::bad_alloc()));
    camera_->holdOpens(opening.get_future().share());
    devices_.setDefaultCamera(camera_);
    start();
    ASSERT_TRUE(loop_.runUntil([this] { return !outcomes_.empty(); }));
    EXPECT_EQ(outcomes_[0].error, "Der Arbeitsspeicher reicht nicht.");
    EXPECT_FALSE(preview_.isOn());
}

}  // namespace
}  // namespace lumivastor::app
