// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/control_values.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string_view>

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
    settings.levelLoudness = true;
    settings.exportHeight = 2160;
    settings.exportFormat = model::ExportFormat::mov;
    settings.webcamEnabled = false;
    settings.webcamSize = 0.3;
    settings.webcamCorner = 3;
    settings.webcamZoom = 1.9;
    settings.webcamShift = -0.12;
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
        {[](auto& v) { v["zoomSlider"] = 3.0; }, [](auto& s) { s.zoomScale = 3; }},
        {[](auto& v) { v["tempoControl"] = 0; }, [](auto& s) { s.tempo = model::Tempo::schnell; }},
        {[](auto& v) { v["tempoControl"] = 2; }, [](auto& s) { s.tempo = model::Tempo::ruhig; }},
        {[](auto& v) { v["smoothingSlider"] = 0.5; }, [](auto& s) { s.smoothing = 0.5; }},
        {[](auto& v) { v["cursorSlider"] = 2.6; }, [](auto& s) { s.cursorScale = 2.6; }},
        {[](auto& v) { v["paddingSlider"] = 0.14; }, [](auto& s) { s.padding = 0.14; }},
        {[](auto& v) { v["cornerSlider"] = 48.0; }, [](auto& s) { s.cornerRadius = 48; }},
        {[](auto& v) { std::get<ColourValue>(v["colorWell"]).red = 1; }, [](auto& s) { s.backgroundRed = 1; }},
        {[](auto& v) { std::get<ColourValue>(v["colorWell"]).green = 1; }, [](auto& s) { s.backgroundGreen = 1; }},
        {[](auto& v) { std::get<ColourValue>(v["colorWell"]).blue = 1; }, [](auto& s) { s.backgroundBlue = 1; }},
        {[](auto& v) { v["systemVolumeSlider"] = 2.0; }, [](auto& s) { s.systemVolume = 2; }},
        {[](auto& v) { v["micVolumeSlider"] = 0.0; }, [](auto& s) { s.micVolume = 0; }},
        {[](auto& v) { v["loudnessCheckbox"] = true; }, [](auto& s) { s.levelLoudness = true; }},
        {[](auto& v) { v["exportResolutionControl"] = 0; }, [](auto& s) { s.exportHeight = 1080; }},
        {[](auto& v) { v["exportResolutionControl"] = -1; }, [](auto& s) { s.exportHeight = 1080; }},
        {[](auto& v) { v["exportResolutionControl"] = 2; }, [](auto& s) { s.exportHeight = 2160; }},
        {[](auto& v) { v["exportFormatControl"] = 1; }, [](auto& s) { s.exportFormat = model::ExportFormat::mov; }},
        {[](auto& v) { v["webcamCheckbox"] = false; }, [](auto& s) { s.webcamEnabled = false; }},
        {[](auto& v) { v["webcamSizeSlider"] = 0.45; }, [](auto& s) { s.webcamSize = 0.45; }},
        {[](auto& v) { v["webcamCornerPopup"] = 2; }, [](auto& s) { s.webcamCorner = 2; }},
        {[](auto& v) { v["webcamZoomSlider"] = 2.2; }, [](auto& s) { s.webcamZoom = 2.2; }},
        {[](auto& v) { v["webcamShiftSlider"] = 0.25; }, [](auto& s) { s.webcamShift = 0.25; }},
        {[](auto& v) { v["cropTopSlider"] = 0.4; }, [](auto& s) { s.cropTop = 0.4; }},
        {[](auto& v) { v["cropBottomSlider"] = 0.4; }, [](auto& s) { s.cropBottom = 0.4; }},
        {[](auto& v) { v["cropLeftSlider"] = 0.4; }, [](auto& s) { s.cropLeft = 0.4; }},
        {[](auto& v) { v["cropRightSlider"] = 0.4; }, [](auto& s) { s.cropRight = 0.4; }},
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

TEST(ControlValues, ASwitchThatIsOffLeavesAnOptionalFieldAsItWas) {
    model::ProjectSettings settings;
    ControlValues values = controlValues(settings, {}, -1);
    EXPECT_EQ(values["loudnessCheckbox"], ControlValue(false));
    values["loudnessCheckbox"] = true;
    settings = settingsFrom(values, settings, -1, true);
    EXPECT_EQ(settings.levelLoudness, true);
    values["loudnessCheckbox"] = false;
    EXPECT_EQ(settingsFrom(values, settings, -1, true), model::ProjectSettings());
    // A document that says so keeps its key.
    settings.levelLoudness = false;
    EXPECT_EQ(settingsFrom(controlValues(settings, {}, -1), settings, -1, true), settings);
}

TEST(ControlValues, AnOffsetOfNoughtLeavesAnOptionalFieldAsItWas) {
    model::ProjectSettings settings;
    ControlValues values = controlValues(settings, {}, -1);
    EXPECT_EQ(values["webcamShiftSlider"], ControlValue(0.0));
    values["webcamShiftSlider"] = -0.1;
    settings = settingsFrom(values, settings, -1, true);
    EXPECT_EQ(settings.webcamShift, -0.1);
    values["webcamShiftSlider"] = 0.0;
    EXPECT_EQ(settingsFrom(values, settings, -1, true), model::ProjectSettings());
    // A document that says so keeps its key.
    settings.webcamShift = 0;
    EXPECT_EQ(settingsFrom(controlValues(settings, {}, -1), settings, -1, true), settings);
}

TEST(ControlValues, EveryFieldButThoseOfTheToolsHasAControl) {
    // The tools below the preview edit these.
    model::ProjectSettings tools;
    tools.trimStart = unusual().trimStart;
    tools.cuts = unusual().cuts;
    tools.masks = unusual().masks;
    EXPECT_EQ(settingsFrom(controlValues(unusual(), {}, -1), tools, -1, true), unusual());
}

TEST(ControlValues, NamesAreUniqueAndTheControlsOfACardFollowEachOther) {
    std::set<std::string_view> names;
    std::set<std::string_view> cards;
    std::string_view card;
    for (const Control& control : controlTable()) {
        EXPECT_TRUE(names.insert(control.names.name).second) << control.names.name;
        EXPECT_EQ(controlIndex(control.names.name), names.size() - 1);
        if (control.card == card) continue;
        card = control.card;
        EXPECT_TRUE(cards.insert(card).second) << card;
    }
    EXPECT_GT(cards.size(), 5u);
    EXPECT_TRUE(std::holds_alternative<ZoomControl>(controlTable()[controlIndex(kZoomSlider)].kind));
}

TEST(ControlValues, WithoutAWebcamItsFieldsStay) {
    const model::ProjectSettings before = unusual();
    ControlValues values = controlValues(before, {}, -1);
    values["webcamCheckbox"] = true;
    values["webcamSizeSlider"] = 0.2;
    values["webcamCornerPopup"] = 1;
    values["webcamZoomSlider"] = 1.0;
    values["webcamShiftSlider"] = 0.5;
    EXPECT_EQ(settingsFrom(values, before, -1, false), before);
}

TEST(ControlValues, TheZoomSliderShowsAndSetsTheSelectedZoomOfAManualList) {
    model::ProjectSettings settings;
    // Not in the order of time, as a document made elsewhere may have it.
    settings.zooms = std::vector<model::ZoomSpec>{{8, 9, 2.0, {{8, 0.5, 0.5}}}, {1, 3, 1.4, {{1, 0.5, 0.5}}}};
    const std::vector<model::ZoomSpec> inForce = {settings.zooms->at(1), settings.zooms->at(0)};
    ControlValues values = controlValues(settings, inForce, 1);
    EXPECT_EQ(values["zoomSlider"], ControlValue(2.0));
    values["zoomSlider"] = 2.5;
    const model::ProjectSettings changed = settingsFrom(values, settings, 1, false);
    EXPECT_EQ(changed.zoomScale, 2.5);
    EXPECT_EQ(changed.zooms->at(0).scale, 2.5);
    EXPECT_EQ(changed.zooms->at(1).scale, 1.4);
}

TEST(ControlValues, WithAutomaticZoomsTheSliderSetsTheScaleOfAll) {
    const model::ProjectSettings settings;
    ControlValues values = controlValues(settings, {{1, 3, 1.6, {}}}, 0);
    values["zoomSlider"] = 2.0;
    const model::ProjectSettings changed = settingsFrom(values, settings, 0, false);
    EXPECT_EQ(changed.zoomScale, 2);
    EXPECT_EQ(changed.zooms, std::nullopt);
}

TEST(ControlValues, WhatADocumentHoldsThatNoControlCanShowStaysUntilItsControlIsUsed) {
    model::ProjectSettings settings;
    settings.webcamCorner = 9;
    settings.exportHeight = 720;
    const ControlValues values = controlValues(settings, {}, 4);
    EXPECT_EQ(values["webcamCornerPopup"], ControlValue(-1));
    EXPECT_EQ(values["exportResolutionControl"], ControlValue(-1));
    EXPECT_EQ(values["zoomSlider"], ControlValue(settings.zoomScale));
    const model::ProjectSettings after = settingsFrom(values, settings, 4, true);
    EXPECT_EQ(after.webcamCorner, 9);
    EXPECT_EQ(after.exportHeight, 1080);  // a selection there has to be
}

TEST(ControlValues, AStepIsNamedAfterTheControlThatChanged) {
    const ControlValues before = controlValues({}, {}, -1);
    EXPECT_EQ(changeName(before, before), "Einstellung");
    for (std::size_t i = 0; i < controlTable().size(); ++i) {
        ControlValues after = before;
        if (auto* number = std::get_if<double>(&after.all[i])) {
            *number += 0.01;
        } else if (auto* index = std::get_if<int>(&after.all[i])) {
            ++*index;
        } else if (auto* isOn = std::get_if<bool>(&after.all[i])) {
            *isOn = !*isOn;
        } else {
            std::get<ColourValue>(after.all[i]).red += 0.1;
        }
        EXPECT_EQ(changeName(before, after), controlTable()[i].names.accessible);
        ControlValues both = after;
        both["paddingSlider"] = 0.123;
        both["cornerSlider"] = 12.3;
        EXPECT_EQ(changeName(before, both), "Einstellung");
    }
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
