// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_labels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace lumivastor::editor {
namespace {

using Span = TimelineStripLayout::Span;
using Item = TimelineStripLayout::Item;

constexpr Span kWhole{0, 1000};

std::vector<Item> items(const std::vector<Span>& spans) {
    std::vector<Item> all;
    for (const Span& span : spans) all.push_back({span, static_cast<int>(all.size())});
    return all;
}

TEST(StripLabels, ALaterZoomCoversTheEndOfAnEarlierOne) {
    const auto parts = uncoveredParts(items({{100, 200}, {150, 300}}), -1, kWhole);
    EXPECT_EQ(parts, (std::vector<Span>{{100, 150}, {150, 300}}));
}

TEST(StripLabels, TheCurrentZoomCoversTheBeginningOfALaterOne) {
    const auto parts = uncoveredParts(items({{100, 200}, {150, 300}}), 0, kWhole);
    EXPECT_EQ(parts, (std::vector<Span>{{100, 200}, {200, 300}})) << "the label stands behind what covers";
}

TEST(StripLabels, OfTwoPartsTheWiderHasTheLabel) {
    EXPECT_EQ(uncoveredParts(items({{100, 400}, {150, 200}}), -1, kWhole)[0], (Span{200, 400}));
    EXPECT_EQ(uncoveredParts(items({{100, 400}, {300, 350}}), -1, kWhole)[0], (Span{100, 300}));
}

TEST(StripLabels, WhatIsCoveredHasNone) {
    const auto parts = uncoveredParts(items({{150, 200}, {160, 180}}), 0, kWhole);
    EXPECT_EQ(parts[1].width(), 0);
    EXPECT_EQ(uncoveredParts(items({{-50, 40}}), -1, kWhole)[0], (Span{0, 40})) << "it begins at the strip's edge";
}

// Whatever lies over whatever, no label stands on another zoom.
TEST(StripLabels, NoPartIsCovered) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> place(-20, 1020);
    for (int round = 0; round < 300; ++round) {
        std::vector<Span> spans;
        for (int i = 0; i < 8; ++i) {
            const double a = place(random);
            const double b = place(random);
            spans.push_back({std::min(a, b), std::max(a, b)});
        }
        std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.left < b.left; });
        const int current = round % 9 - 1;
        const auto parts = uncoveredParts(items(spans), current, kWhole);
        ASSERT_EQ(parts.size(), spans.size());
        for (std::size_t i = 0; i < parts.size(); ++i) {
            if (parts[i].width() <= 0) continue;
            EXPECT_GE(parts[i].left, std::max(spans[i].left, kWhole.left));
            EXPECT_LE(parts[i].right, std::min(spans[i].right, kWhole.right));
            for (std::size_t j = 0; j < spans.size(); ++j) {
                const bool isAbove = static_cast<int>(i) != current && (j > i || static_cast<int>(j) == current);
                if (!isAbove || i == j) continue;
                EXPECT_FALSE(parts[i].left < spans[j].right && spans[j].left < parts[i].right) << i << " under " << j;
            }
        }
    }
}

TEST(StripLabels, ALabelIsWholeOrShortOrNotThere) {
    const auto widthOf = [](const std::string& text) { return 7.0 * static_cast<double>(text.size()); };
    EXPECT_EQ(zoomLabel(3, 42, widthOf), "Zoom 4");
    EXPECT_EQ(zoomLabel(3, 41, widthOf), "4");
    EXPECT_EQ(zoomLabel(3, 7, widthOf), "4");
    EXPECT_EQ(zoomLabel(3, 6, widthOf), "");
    EXPECT_EQ(zoomLabel(11, 13, widthOf), "") << "half of a number would be another number";
}

}  // namespace
}  // namespace lumivastor::editor
