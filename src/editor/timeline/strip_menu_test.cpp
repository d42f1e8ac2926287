// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_menu.h"

#include <gtest/gtest.h>

#include <QColor>
#include <algorithm>
#include <cmath>
#include <set>
#include <string>

#include "editor/timeline/strip_painter.h"
#include "editor/timeline/strip_texts.h"

namespace lumivastor::editor {
namespace {

using Kind = StripPart::Kind;

const StripMenuItem* item(const std::vector<StripMenuItem>& items, StripCommand command) {
    const auto found = std::find_if(items.begin(), items.end(),
                                    [command](const StripMenuItem& each) { return each.command == command; });
    return found == items.end() ? nullptr : &*found;
}

TEST(StripMenu, HasWhatCanBeDoneWithThePart) {
    const auto zoom = stripMenu({Kind::zoomEnd, 1}, {});
    EXPECT_NE(item(zoom, StripCommand::showZoom), nullptr);
    EXPECT_NE(item(zoom, StripCommand::deleteZoom), nullptr);
    EXPECT_EQ(item(zoom, StripCommand::removeCut), nullptr);
    const auto cut = stripMenu({Kind::cut, 0}, {});
    EXPECT_NE(item(cut, StripCommand::removeCut), nullptr);
    EXPECT_EQ(item(cut, StripCommand::deleteZoom), nullptr);
    const auto empty = stripMenu({Kind::empty}, {});
    EXPECT_FALSE(empty.front().startsGroup);
    EXPECT_NE(item(empty, StripCommand::addZoom), nullptr);
}

TEST(StripMenu, WhatHasNoEffectIsDisabled) {
    const auto fresh = stripMenu({Kind::empty}, {});
    for (const StripCommand command : {StripCommand::addCut, StripCommand::resetTrim, StripCommand::resetZooms,
                                       StripCommand::showSelection, StripCommand::showAll}) {
        EXPECT_FALSE(item(fresh, command)->isEnabled);
    }
    const auto all = stripMenu({Kind::zoom, 0}, {true, true, true, true, false});
    for (const StripMenuItem& each : all) EXPECT_TRUE(each.isEnabled) << each.text;
    std::set<std::string> texts;
    for (const StripMenuItem& each : all) EXPECT_TRUE(texts.insert(each.text).second) << each.text;
}

class StripTexts : public testing::Test {
  protected:
    StripTexts() {
        content_.duration = 100;
        content_.trim = {5, 95};
        content_.zooms = zooms_;
        content_.cuts = cuts_;
        content_.playhead = 61.5;
        layout_.clicks = {{20, 4.25}};
    }
    std::string tip(StripPart part) { return stripToolTip(part, content_, layout_); }

    std::vector<model::ZoomSpec> zooms_ = {{10, 20, 2, {}}};
    std::vector<model::CutRange> cuts_ = {{60, 70}};
    TimelineStripContent content_;
    TimelineStripLayout layout_;
};

TEST_F(StripTexts, ToolTipsSayWhatItIs) {
    EXPECT_TRUE(tip({Kind::zoom, 0}).starts_with("Zoom 1: 0:10.00 – 0:20.00\n"));
    EXPECT_TRUE(tip({Kind::cutEnd, 0}).starts_with("Schnitt 1: 1:00.00 – 1:10.00\n"));
    EXPECT_EQ(tip({Kind::click, 0}), "Klick bei 0:04.25");
    EXPECT_TRUE(tip({Kind::trimStart}).starts_with("Anfang des Videos: 0:05.00"));
    EXPECT_TRUE(tip({Kind::trimEnd}).starts_with("Ende des Videos: 1:35.00"));
    const std::string legend = "Helle Abschnitte sind im Video, orange sind Zooms, Punkte sind Klicks";
    EXPECT_EQ(tip({Kind::empty}), legend);
    EXPECT_EQ(tip({Kind::zoom, 7}), legend) << "what is not there any more";
}

TEST_F(StripTexts, LanesOfSoundHaveNames) {
    const StripLanes lanes = layOutLanes({true, true, true}, 14);
    EXPECT_EQ(stripLaneName(lanes, lanes.systemSound.middle()), "Systemton");
    EXPECT_EQ(stripLaneName(lanes, lanes.microphone.middle()), "Mikrofon");
    EXPECT_EQ(stripLaneName(lanes, lanes.pictures.middle()), "");
    const StripLanes silent = layOutLanes({}, 14);
    for (double y = 0; y < silent.height; ++y) EXPECT_EQ(stripLaneName(silent, y), "") << y;
}

TEST_F(StripTexts, TheValueNamesSelectionPlayheadAndWhatIsShown) {
    EXPECT_EQ(stripValue({}, content_, {0, 100}), "Abspielposition 1:01.50");
    EXPECT_EQ(stripValue({StripSelection::Kind::zoom, 0}, content_, {0, 100}),
              "Zoom 1: 0:10.00 – 0:20.00 ausgewählt. Abspielposition 1:01.50");
    EXPECT_EQ(stripValue({StripSelection::Kind::cut, 0}, content_, {50, 75}),
              "Schnitt 1: 1:00.00 – 1:10.00 ausgewählt. Abspielposition 1:01.50. Zu sehen: 0:50.00 – 1:15.00");
}

TEST_F(StripTexts, EveryDragHasAName) {
    for (int kind = 0; kind <= static_cast<int>(Kind::trimEnd); ++kind) {
        const StripPart part{static_cast<Kind>(kind), 0};
        EXPECT_EQ(std::string(stripDragName(part.kind)).empty(), !part.isEdited()) << kind;
    }
}

double luminance(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor& a, const QColor& b) {
    const double lighter = std::max(luminance(a), luminance(b));
    const double darker = std::min(luminance(a), luminance(b));
    return (lighter + 0.05) / (darker + 0.05);
}

TEST(StripColours, TextAndMarksCanBeReadOnTheirGround) {
    namespace colours = strip_colours;
    EXPECT_GE(contrast(colours::kZoomText, colours::kZoom), 4.5);
    EXPECT_GE(contrast(colours::kSelectedZoomText, colours::kSelectedZoom), 4.5);
    EXPECT_GE(contrast(colours::kRulerText, ui::theme::kWindow), 4.5);
    EXPECT_GE(contrast(colours::kClick, colours::kKept), 4.5);
    EXPECT_GE(contrast(colours::kWave, colours::kKept), 4.5);
    EXPECT_GE(contrast(colours::kHandle, ui::theme::kWindow), 4.5);
}

}  // namespace
}  // namespace lumivastor::editor
