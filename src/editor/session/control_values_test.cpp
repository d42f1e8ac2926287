// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/control_values.h"

#include <gtest/gtest.h>

#include <functional>

namespace lumivastor::editor {
namespace {

model::ProjectSettings unusual() {
    model::ProjectSettings settings;
    settings.trimStart = 1;
    settings.cuts = {{2, 3}};
    settings.zoomScale = 2.25;
    settings.tempo = model::Tempo::ruhig;
    settings.smoothing = 0.123;
    settings.cursorScale = 2.01;
    settings.backgroundRed = 0.7;
    settings.backgroundGreen = 0.05;
    settings.backgroundBlue = 1.0 / 3;
    settings.padding = 0.0333;
    settings.cornerRadius = 17.3;
    settings.systemVolume = 1.7;
    settings.micVolume = 0;
    settings.exportHeight = 2160;
    settings.exportFormat = model::ExportFormat::mov;
    settings.webcamEnabled = false;
    settings.webcamSize = 0.3;
    settings.webcamCorner = 3;
    settings.webcamZoom = 1.9;
    settings.cropTop = 0.1;
    settings.cropBottom = 0.2;
    settings.cropLeft = 0.3;
    settings.cropRight = 0.4;
    settings.masks = {{0.1, 0.2, 0.3, 0.4}};
    return settings;
}

TEST(ControlValues, SettingsThatAreShownAndReadBackAreTheSame) {
    for (const model::ProjectSettings& settings : {model::ProjectSettings(), unusual()}) {
        EXPECT_EQ(settingsFrom(controlValues(settings, {}, -1), settings, -1, true), settings);
    }
}

TEST(ControlValues, EachControlChangesItsFieldAndNoOther) {
    struct Case {
        std::function<void(ControlValues&)> move;
        std::function<void(model::ProjectSettings&)> change;
    };
    const std::vector<Case> cases = {
        {[](auto& v) { v.zoom = 3; }, [](auto& s) { s.zoomScale = 3; }},
        {[](auto& v) { v.tempo = 0; }, [](auto& s) { s.tempo = model::Tempo::schnell; }},
        {[](auto& v) { v.tempo = 2; }, [](auto& s) { s.tempo = model::Tempo::ruhig; }},
        {[](auto& v) { v.smoothing = 0.5; }, [](auto& s) { s.smoothing = 0.5; }},
        {[](auto& v) { v.cursor = 2.6; }, [](auto& s) { s.cursorScale = 2.6; }},
        {[](auto& v) { v.padding = 0.14; }, [](auto& s) { s.padding = 0.14; }},
        {[](auto& v) { v.corner = 48; }, [](auto& s) { s.cornerRadius = 48; }},
        {[](auto& v) { v.red = 1; }, [](auto& s) { s.backgroundRed = 1; }},
        {[](auto& v) { v.green = 1; }, [](auto& s) { s.backgroundGreen = 1; }},
        {[](auto& v) { v.blue = 1; }, [](auto& s) { s.backgroundBlue = 1; }},
        {[](auto& v) { v.systemVolume = 2; }, [](auto& s) { s.systemVolume = 2; }},
        {[](auto& v) { v.micVolume = 0; }, [](auto& s) { s.micVolume = 0; }},
        {[](auto& v) { v.exportResolution = 0; }, [](auto& s) { s.exportHeight = 1080; }},
        {[](auto& v) { v.exportResolution = -1; }, [](auto& s) { s.exportHeight = 1080; }},
        {[](auto& v) { v.exportResolution = 2; }, [](auto& s) { s.exportHeight = 2160; }},
        {[](auto& v) { v.exportFormat = 1; }, [](auto& s) { s.exportFormat = model::ExportFormat::mov; }},
        {[](auto& v) { v.webcam = false; }, [](auto& s) { s.webcamEnabled = false; }},
        {[](auto& v) { v.webcamSize = 0.45; }, [](auto& s) { s.webcamSize = 0.45; }},
        {[](auto& v) { v.webcamCorner = 2; }, [](auto& s) { s.webcamCorner = 2; }},
        {[](auto& v) { v.webcamZoom = 2.2; }, [](auto& s) { s.webcamZoom = 2.2; }},
        {[](auto& v) { v.cropTop = 0.4; }, [](auto& s) { s.cropTop = 0.4; }},
        {[](auto& v) { v.cropBottom = 0.4; }, [](auto& s) { s.cropBottom = 0.4; }},
        {[](auto& v) { v.cropLeft = 0.4; }, [](auto& s) { s.cropLeft = 0.4; }},
        {[](auto& v) { v.cropRight = 0.4; }, [](auto& s) { s.cropRight = 0.4; }},
    };
    const model::ProjectSettings before;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        ControlValues values = controlValues(before, {}, -1);
        cases[i].move(values);
        model::ProjectSettings expected = before;
        cases[i].change(expected);
        EXPECT_NE(expected, before) << i;
        EXPECT_EQ(settingsFrom(values, before, -1, true), expected) << i;
    }
}

TEST(ControlValues, WithoutAWebcamItsFieldsStay) {
    const model::ProjectSettings before = unusual();
    ControlValues values = controlValues(before, {}, -1);
    values.webcam = true;
    values.webcamSize = 0.2;
    values.webcamCorner = 1;
    values.webcamZoom = 1;
    EXPECT_EQ(settingsFrom(values, before, -1, false), before);
}

TEST(ControlValues, TheZoomSliderShowsAndSetsTheSelectedZoomOfAManualList) {
    model::ProjectSettings settings;
    // Not in the order of time, as a document made elsewhere may have it.
    settings.zooms = std::vector<model::ZoomSpec>{{8, 9, 2.0, {{8, 0.5, 0.5}}}, {1, 3, 1.4, {{1, 0.5, 0.5}}}};
    const std::vector<model::ZoomSpec> inForce = {settings.zooms->at(1), settings.zooms->at(0)};
    ControlValues values = controlValues(settings, inForce, 1);
    EXPECT_EQ(values.zoom, 2.0);
    values.zoom = 2.5;
    const model::ProjectSettings changed = settingsFrom(values, settings, 1, false);
    EXPECT_EQ(changed.zoomScale, 2.5);
    EXPECT_EQ(changed.zooms->at(0).scale, 2.5);
    EXPECT_EQ(changed.zooms->at(1).scale, 1.4);
}

TEST(ControlValues, WithAutomaticZoomsTheSliderSetsTheScaleOfAll) {
    const model::ProjectSettings settings;
    ControlValues values = controlValues(settings, {{1, 3, 1.6, {}}}, 0);
    values.zoom = 2;
    const model::ProjectSettings changed = settingsFrom(values, settings, 0, false);
    EXPECT_EQ(changed.zoomScale, 2);
    EXPECT_EQ(changed.zooms, std::nullopt);
}

TEST(ControlValues, WhatADocumentHoldsThatNoControlCanShowStaysUntilItsControlIsUsed) {
    model::ProjectSettings settings;
    settings.webcamCorner = 9;
    settings.exportHeight = 720;
    const ControlValues values = controlValues(settings, {}, 4);
    EXPECT_EQ(values.webcamCorner, -1);
    EXPECT_EQ(values.exportResolution, -1);
    EXPECT_EQ(values.zoom, settings.zoomScale);
    const model::ProjectSettings after = settingsFrom(values, settings, 4, true);
    EXPECT_EQ(after.webcamCorner, 9);
    EXPECT_EQ(after.exportHeight, 1080);  // a selection there has to be
}

TEST(ControlValues, ZoomsOfEqualStartKeepTheirOrder) {
    const std::vector<model::ZoomSpec> list = {{5, 6, 1, {}}, {2, 3, 1, {}}, {5, 7, 1, {}}};
    EXPECT_EQ(indexInList(list, 0), 1);
    EXPECT_EQ(indexInList(list, 1), 0);
    EXPECT_EQ(indexInList(list, 2), 2);
    EXPECT_EQ(indexInList(list, 3), -1);
    EXPECT_EQ(indexInList(list, -1), -1);
}

}  // namespace
}  // namespace lumivastor::editor
