// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/level_view.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QScreen>
#include <memory>

#include "support/offscreen_application.h"

namespace lumivastor::app {
namespace {

using Kind = platform::SoundBoard::Kind;
using Reading = platform::LevelMeter::Reading;

class LevelViewTest : public testing::Test {
  protected:
    LevelViewTest() {
        window_.resize(kSize);
        level_ = new LevelView("Pegel", Kind::microphone, beat_, &window_);
        level_->setGeometry(0, 0, kSize.width(), kSize.height());
        window_.setVisible(true);
    }

    // What a meter looks like that has shown nothing before.
    QImage fresh() const {
        QWidget window;
        window.resize(kSize);
        const auto beat = std::make_shared<LevelBeat>([this](Kind) { return reading_; });
        auto* const level = new LevelView("Pegel", Kind::microphone, beat, &window);
        level->setGeometry(0, 0, kSize.width(), kSize.height());
        window.setVisible(true);
        beat->beat();
        QApplication::processEvents();
        return window.grab().toImage();
    }

    static constexpr QSize kSize{110, 8};
    OffscreenApplication application_;
    std::optional<Reading> reading_;
    const std::shared_ptr<LevelBeat> beat_ = std::make_shared<LevelBeat>([this](Kind) { return reading_; });
    QWidget window_;
    LevelView* level_;
};

TEST(LevelArea, IsWhereBarsDiffer) {
    constexpr QSize kSize(100, 8);
    const LevelBars bars{20, 50, 70, false};
    EXPECT_TRUE(changedLevelArea(bars, bars, kSize).isEmpty());
    EXPECT_EQ(changedLevelArea(bars, {18, 50, 70, false}, kSize), QRegion(18, 0, 2, 8));
    EXPECT_EQ(changedLevelArea(bars, {20, 53, 70, false}, kSize), QRegion(50, 0, 3, 8));
    EXPECT_EQ(changedLevelArea(bars, {20, 50, 80, false}, kSize), QRegion(68, 0, 2, 8) + QRegion(78, 0, 2, 8));
    EXPECT_EQ(changedLevelArea(bars, {20, 50, 70, true}, kSize), QRegion(96, 0, 4, 8));
}

// Each is painted over the one before.
TEST_F(LevelViewTest, LooksTheSameWhateverItShowedBefore) {
    for (const Reading& reading : {Reading{-50, -40, -30, false},
                                   {-20, -9, -3, false},
                                   {-25, -14, -3, false},
                                   {-10, -1, -0.1, true},
                                   {-30, -12, -2, false},
                                   {-60, -60, -12, false}}) {
        reading_ = reading;
        beat_->beat();
        EXPECT_FALSE(level_->follow()) << "nothing changes any more";
        QApplication::processEvents();
        EXPECT_EQ(window_.screen()->grabWindow(window_.winId()).toImage().convertToFormat(QImage::Format_RGB32),
                  fresh().convertToFormat(QImage::Format_RGB32));
    }
    reading_.reset();
    EXPECT_TRUE(level_->follow());
}

}  // namespace
}  // namespace lumivastor::app
