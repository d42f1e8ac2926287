// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/labels.h"

#include <gtest/gtest.h>

namespace lumivastor::editor {
namespace {

TEST(Labels, Trim) {
    EXPECT_EQ(labels::trim({0, 12.5}, 60), "Bereich: 0.000 – 12.500 s (Bild 0 – 750)");
    EXPECT_EQ(labels::trim({1.0 / 3, 2.9999}, 30), "Bereich: 0.333 – 3.000 s (Bild 10 – 89)");
}

TEST(Labels, Cuts) {
    EXPECT_EQ(labels::cuts({}, {}), "Keine Schnitte");
    EXPECT_EQ(labels::cuts({{1, 2.5}}, {}), "1.00–2.50 s");
    EXPECT_EQ(labels::cuts({{1, 2.5}, {4, 4.255}}, {}), "1.00–2.50, 4.00–4.25 s");
    EXPECT_EQ(labels::cuts({{1, 2.5}}, 3.0), "Anfang bei 3.00 s gesetzt - jetzt Ende wählen");
}

TEST(Labels, Time) {
    EXPECT_EQ(labels::time(0, 60), "0.000 s · Bild 0");
    EXPECT_EQ(labels::time(3.25, 60), "3.250 s · Bild 195");
}

TEST(Labels, ZoomPercentIsTheEnlargement) {
    EXPECT_EQ(labels::zoomPercent(1), "0 %");
    EXPECT_EQ(labels::zoomPercent(1.6), "60 %");
    EXPECT_EQ(labels::zoomPercent(1.556), "56 %");
    EXPECT_EQ(labels::zoomPercent(3), "200 %");
}

TEST(Labels, VolumeSaysWhenNothingIsHeard) {
    EXPECT_EQ(labels::volume(1), "100 %");
    EXPECT_EQ(labels::volume(2), "200 %");
    EXPECT_EQ(labels::volume(0.005), "1 %");
    EXPECT_EQ(labels::volume(0.0049), "0 % (stumm)");
    EXPECT_EQ(labels::volume(0), "0 % (stumm)");
}

TEST(Labels, Crop) {
    EXPECT_EQ(labels::crop(0), "0.0 %");
    EXPECT_EQ(labels::crop(0.00049), "0.0 %");
    EXPECT_EQ(labels::crop(0.0005), "0.1 %");  // 0.05 lies a little above itself
    EXPECT_EQ(labels::crop(0.125), "12.5 %");
    EXPECT_EQ(labels::crop(0.4), "40.0 %");
}

TEST(Labels, VideoLength) {
    EXPECT_EQ(labels::videoLength(0), "Video: 0.0 s");
    EXPECT_EQ(labels::videoLength(59.91), "Video: 59.9 s");
    EXPECT_EQ(labels::videoLength(60), "Video: 1:00 min");
    EXPECT_EQ(labels::videoLength(3665.4), "Video: 61:05 min");
}

TEST(Labels, WhatADocumentMayHoldIsShownSomehow) {
    EXPECT_EQ(labels::volume(1e300), "9223372036854775807 %");
    EXPECT_EQ(labels::percent(-1e300), "-9223372036854775808 %");
    EXPECT_EQ(labels::pixels(1e300), "9223372036854775807 px");
    EXPECT_EQ(labels::remainingTime(1e300), "noch 2562047788015215 h 30 min");
    EXPECT_TRUE(labels::time(1e30, 60).ends_with(" s · Bild 9223372036854775807"));
}

TEST(Labels, ValuesOfSliders) {
    EXPECT_EQ(labels::percent(0.884), "88 %");
    EXPECT_EQ(labels::magnification(1.7), "1.7×");
    EXPECT_EQ(labels::milliseconds(0.12), "+120 ms");
    EXPECT_EQ(labels::milliseconds(-0.0354), "−35 ms");
    EXPECT_EQ(labels::milliseconds(-0.0004), "0 ms");
    EXPECT_EQ(labels::pixels(25.6), "26 px");
}

TEST(Labels, Zooms) {
    EXPECT_EQ(labels::zoomItem(1, {4.45, 7, 1.6, {}}), "Zoom 1: 4.5 – 7.0 s");
    EXPECT_EQ(labels::zoomMode(false), "Automatik");
    EXPECT_EQ(labels::pointerNote({}), "");
    EXPECT_EQ(labels::zoomMode(true), "von Hand bearbeitet");
}

TEST(Labels, Masks) {
    EXPECT_EQ(labels::masks(0, false), "Keine Bereiche");
    EXPECT_EQ(labels::masks(1, false), "1 Bereich, gilt fürs ganze Video");
    EXPECT_EQ(labels::masks(2, false), "2 Bereiche, gelten fürs ganze Video");
    EXPECT_EQ(labels::masks(2, true), "Rechteck in der Vorschau aufziehen (Esc bricht ab)");
}

TEST(Labels, Rendering) {
    EXPECT_EQ(labels::rendering(1920, 1080), "Rendere in 1920×1080 …");
    EXPECT_EQ(labels::rendering(1920, 1080, std::nullopt), "Rendere in 1920×1080 …");
    EXPECT_EQ(labels::rendering(2560, 1440, 8.2), "Rendere in 2560×1440 … noch 9 s");
    EXPECT_EQ(labels::rendered(12.46, 3, "studio-output.mp4"), "Fertig: 12.5 s, 3 Zooms – studio-output.mp4");
}

TEST(Labels, WhatIsPrepared) {
    EXPECT_EQ(labels::prepared(0), "");
    EXPECT_EQ(labels::prepared(0.01), "Zu 1 % vorbereitet");
    EXPECT_EQ(labels::prepared(0.8), "Zu 80 % vorbereitet");
    EXPECT_EQ(labels::prepared(0.99), "Zu 99 % vorbereitet");
    EXPECT_EQ(labels::prepared(1), "Fertig vorbereitet");
}

TEST(Labels, RemainingTimeIsCoarserTheLongerItIs) {
    EXPECT_EQ(labels::remainingTime(0), "noch 1 s");
    EXPECT_EQ(labels::remainingTime(9.1), "noch 10 s");
    EXPECT_EQ(labels::remainingTime(10.1), "noch 15 s");
    EXPECT_EQ(labels::remainingTime(55.1), "noch 1 min");
    EXPECT_EQ(labels::remainingTime(200), "noch 3 min 20 s");
    EXPECT_EQ(labels::remainingTime(599), "noch 10 min");
    EXPECT_EQ(labels::remainingTime(601), "noch 11 min");
    EXPECT_EQ(labels::remainingTime(3600), "noch 1 h 0 min");
    EXPECT_EQ(labels::remainingTime(3901), "noch 1 h 6 min");
}

TEST(Labels, TheShuttleSaysWhereItRunsAndHowFast) {
    EXPECT_EQ(labels::shuttle(0), "");
    EXPECT_EQ(labels::shuttle(1), "");
    EXPECT_EQ(labels::shuttle(2), "Vorlauf 2×");
    EXPECT_EQ(labels::shuttle(-1), "Rücklauf 1×");
    EXPECT_EQ(labels::shuttle(-8), "Rücklauf 8×");
}

}  // namespace
}  // namespace lumivastor::editor
