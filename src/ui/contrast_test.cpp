// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/contrast.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPalette>
#include <utility>

#include "support/style_colours.h"
#include "ui/theme.h"

namespace lumivastor::ui {
namespace {

TEST(Contrast, HasKnownValues) {
    EXPECT_DOUBLE_EQ(relativeLuminance(Qt::black), 0);
    EXPECT_NEAR(relativeLuminance(Qt::white), 1, 1e-9);
    EXPECT_NEAR(relativeLuminance(Qt::red), 0.2126, 1e-9);
    EXPECT_NEAR(relativeLuminance(QColor(128, 128, 128)), 0.21586, 1e-5);
    EXPECT_NEAR(contrast(Qt::white, Qt::black), 21, 1e-9);
    EXPECT_NEAR(contrast(Qt::black, Qt::white), 21, 1e-9);
    EXPECT_DOUBLE_EQ(contrast(Qt::red, Qt::red), 1);
    // The greys that are known for just passing and just failing on white.
    EXPECT_NEAR(contrast(QColor(0x76, 0x76, 0x76), Qt::white), 4.54, 0.005);
    EXPECT_NEAR(contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.005);
    EXPECT_NEAR(contrast(QColor(0x94, 0x94, 0x94), Qt::white), 3.03, 0.005);
}

TEST(Contrast, GrowsWithTheDistanceOfGreys) {
    for (int grey = 1; grey < 256; ++grey) {
        EXPECT_GT(contrast(QColor(grey, grey, grey), Qt::black),
                  contrast(QColor(grey - 1, grey - 1, grey - 1), Qt::black));
    }
}

TEST(Contrast, BlendsWhatIsTranslucent) {
    EXPECT_EQ(blended(QColor(10, 20, 30), Qt::white).rgb(), QColor(10, 20, 30).rgb());
    EXPECT_EQ(blended(QColor(10, 20, 30, 0), Qt::white).rgb(), QColor(Qt::white).rgb());
    EXPECT_NEAR(blended(QColor(0, 0, 0, 51), Qt::white).red(), 204, 1);
}

TEST(ThemeContrast, TextOfEveryStateCanBeRead) {
    const StyleColours colours(theme::styleSheet(QApplication::font()));
    EXPECT_GT(colours.expectReadableText(windowSurfaces()), 60);
    theme::apply(*qApp);
    const QPalette palette = QApplication::palette();
    const std::pair<QPalette::ColorRole, QPalette::ColorRole> roles[] = {
        {QPalette::WindowText, QPalette::Window},         {QPalette::Text, QPalette::Base},
        {QPalette::Text, QPalette::AlternateBase},        {QPalette::PlaceholderText, QPalette::Base},
        {QPalette::PlaceholderText, QPalette::Button},    {QPalette::ButtonText, QPalette::Button},
        {QPalette::HighlightedText, QPalette::Highlight}, {QPalette::Link, QPalette::Base},
        {QPalette::ToolTipText, QPalette::ToolTipBase},
    };
    for (const auto& [text, background] : roles) {
        EXPECT_GE(contrast(palette.color(text), palette.color(background)), kTextContrast) << text << background;
    }
}

TEST(ThemeContrast, ShapesThatCarryMeaningCanBeSeen) {
    const StyleColours colours(theme::styleSheet(QApplication::font()));
    EXPECT_GT(colours.expectVisibleFocus(windowSurfaces()), 12);
    for (const QColor& surface : windowSurfaces()) {
        for (const QColor& shape : {theme::kOutline, theme::kFocus, theme::kAccent, theme::kText}) {
            EXPECT_GE(contrast(shape, surface), kShapeContrast) << shape.name().toStdString();
        }
    }
    // The selected segment among the others, and the handle of a slider beside its line.
    EXPECT_GE(contrast(theme::kOutline, theme::kControlPressed), kShapeContrast);
    EXPECT_GE(contrast(theme::kText, theme::kTrack), kShapeContrast);
    // How far a progress bar and a slider are.
    EXPECT_GE(contrast(theme::kAccent, theme::kControl), kShapeContrast);
}

TEST(ThemeContrast, LinesOnPicturesCanBeSeenWhateverThePicture) {
    for (int grey = 0; grey < 256; grey += 5) {
        const QColor under = blended(theme::kUnder, QColor(grey, grey, grey));
        for (const QColor& line : {theme::kAccent, theme::kText, theme::kFocus}) {
            EXPECT_GE(contrast(line, under), kShapeContrast) << line.name().toStdString() << " on grey " << grey;
        }
    }
}

}  // namespace
}  // namespace lumivastor::ui
