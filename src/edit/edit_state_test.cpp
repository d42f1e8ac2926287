// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/edit_state.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/recorder_error.h"
#include "support/pointer_events.h"

namespace lumivastor::edit {
namespace {

constexpr PixelSize kCanvas{2560, 1440};

model::CaptureInfo capture(double duration = 30) {
    model::CaptureInfo info;
    info.pixelWidth = 1920;
    info.pixelHeight = 1080;
    info.duration = duration;
    return info;
}

Recording recordingOf(std::vector<model::PointerSample> events, const model::CaptureInfo& info = capture()) {
    model::PointerTrack track;
    track.events = std::move(events);
    return {"", info, std::move(track)};
}

// A move to (1000, 500), where the pointer stays from 4 s to 12 s.
std::vector<model::PointerSample> moveAndRest() {
    return {event(0, 100, 100), event(3.9, 700, 400), event(4, 1000, 500), event(12, 1010, 900)};
}

TEST(EditState, WithoutClicksZoomsAreProposedWhereThePointerRests) {
    model::CaptureInfo info = capture();
    const model::ProjectSettings settings;
    EXPECT_TRUE(deriveEditState(recordingOf(moveAndRest(), info), settings, kCanvas)->zoomSpecs.empty())
        << "with clicks known, resting means nothing";
    info.pointerKnown = model::KnownPointer::positions;
    const auto state = deriveEditState(recordingOf(moveAndRest(), info), settings, kCanvas);
    ASSERT_EQ(state->zoomSpecs.size(), 2u);
    EXPECT_DOUBLE_EQ(state->zoomSpecs[0].start, 4 + 0.15 - 0.7);
    EXPECT_DOUBLE_EQ(state->zoomSpecs[0].end, 6);
    EXPECT_DOUBLE_EQ(state->zoomSpecs[0].focus[0].x, 1000.0 / 1920);
    EXPECT_DOUBLE_EQ(state->zoomSpecs[1].focus[0].y, 900.0 / 1080);
    EXPECT_TRUE(state->clicks.empty()) << "no rings";

    model::ProjectSettings cropped;
    cropped.cropBottom = 0.3;  // down to y = 756
    EXPECT_EQ(deriveEditState(recordingOf(moveAndRest(), info), cropped, kCanvas)->zoomSpecs.size(), 1u);
    cropped.zooms.emplace();
    EXPECT_TRUE(deriveEditState(recordingOf(moveAndRest(), info), cropped, kCanvas)->zoomSpecs.empty());
}

TEST(EditState, ClicksThatAreKnownAllTheSameCountBesideRests) {
    model::CaptureInfo info = capture();
    info.pointerKnown = model::KnownPointer::positions;
    std::vector<model::PointerSample> events = moveAndRest();
    events.insert(events.begin() + 3, press(7, 1000, 500));
    const auto state = deriveEditState(recordingOf(events, info), {}, kCanvas);
    ASSERT_EQ(state->zoomSpecs.size(), 2u);
    EXPECT_DOUBLE_EQ(state->zoomSpecs[0].start, 4 + 0.15 - 0.7);
    EXPECT_DOUBLE_EQ(state->zoomSpecs[0].end, 9) << "the click prolongs the zoom";
    EXPECT_EQ(state->clicks.size(), 1u);
}

TEST(EditState, WithoutPositionsThereIsNoCursorNoClickAndNoZoom) {
    for (const auto known : {model::KnownPointer::embedded, model::KnownPointer::none}) {
        model::CaptureInfo info = capture();
        info.pointerKnown = known;
        std::vector<model::PointerSample> events = moveAndRest();
        events.push_back(press(13, 1000, 500));
        const auto state = deriveEditState(recordingOf(events, info), {}, kCanvas);
        EXPECT_TRUE(state->zoomSpecs.empty());
        EXPECT_TRUE(state->clicks.empty());
        EXPECT_FALSE(state->cursorEngine->position(5));
    }
}

TEST(EditState, ProposesZoomsOnlyForClicksInsideTheCrop) {
    const Recording recording = recordingOf({event(0, 0, 0), press(5, 100, 500), press(15, 1000, 500)});
    model::ProjectSettings settings;
    EXPECT_EQ(deriveEditState(recording, settings, kCanvas)->zoomSpecs.size(), 2u);
    settings.cropLeft = 0.1;  // from x = 192
    const auto state = deriveEditState(recording, settings, kCanvas);
    ASSERT_EQ(state->zoomSpecs.size(), 1u);
    EXPECT_DOUBLE_EQ(state->zoomSpecs[0].focus[0].x, 1000.0 / 1920);
    ASSERT_EQ(state->clicks.size(), 1u);
    EXPECT_EQ(state->clicks[0].px, 1000);
}

TEST(EditState, AClickOnTheCropsEdgeLiesInside) {
    model::ProjectSettings settings;
    settings.cropLeft = 0.1;
    settings.cropBottom = 0.1;
    const auto state =
        deriveEditState(recordingOf({press(5, 192, 972), press(6, 191, 972), press(7, 192, 973)}), settings, kCanvas);
    ASSERT_EQ(state->clicks.size(), 1u);
    EXPECT_EQ(state->clicks[0].t, 5);
}

TEST(EditState, APresentZoomListIsUsedAsItStandsSortedByStart) {
    const Recording recording = recordingOf({press(5, 100, 500)});
    model::ProjectSettings settings;
    settings.zooms.emplace();
    EXPECT_TRUE(deriveEditState(recording, settings, kCanvas)->zoomSpecs.empty());
    settings.zooms = {{9, 12, 2, {{9.7, 0, 0}}}, {1, 3, 1.5, {{1.7, 1, 1}}}};
    const auto state = deriveEditState(recording, settings, kCanvas);
    ASSERT_EQ(state->zoomSpecs.size(), 2u);
    EXPECT_EQ(state->zoomSpecs[0].start, 1);
    EXPECT_EQ(state->zoomEngine->events()[0].start, 1);
    EXPECT_EQ(state->settings.zooms->front().start, 9);
}

TEST(EditState, TheTempoStretchesTheTransitionsOnly) {
    const auto parametersAt = [](model::Tempo tempo) {
        model::ProjectSettings settings;
        settings.tempo = tempo;
        settings.zoomScale = 2.5;
        return zoomParameters(settings);
    };
    const auto quick = parametersAt(model::Tempo::schnell);
    EXPECT_DOUBLE_EQ(quick.zoomInDuration, 0.525);
    EXPECT_DOUBLE_EQ(quick.zoomOutDuration, 0.75);
    EXPECT_DOUBLE_EQ(quick.panDuration, 0.6);
    const auto calm = parametersAt(model::Tempo::ruhig);
    EXPECT_DOUBLE_EQ(calm.zoomInDuration, 0.945);
    EXPECT_DOUBLE_EQ(calm.zoomOutDuration, 1.35);
    EXPECT_DOUBLE_EQ(calm.panDuration, 1.08);
    for (const auto& each : {quick, calm}) {
        EXPECT_EQ(each.scale, 2.5);
        EXPECT_EQ(each.arrival, 0.15);
        EXPECT_EQ(each.hold, 2.0);
        EXPECT_EQ(each.groupGap, 3.2);
        EXPECT_EQ(each.panThreshold, 0.16);
    }
}

TEST(EditState, HandMadeZoomsKeepTheirTimesButChangeTheirTransitions) {
    const Recording recording = recordingOf({press(5, 100, 500)});
    model::ProjectSettings settings;
    settings.zooms = {{9, 12, 2, {{9.7, 0, 0}}}};
    settings.tempo = model::Tempo::schnell;
    const auto quick = deriveEditState(recording, settings, kCanvas);
    settings.tempo = model::Tempo::ruhig;
    const auto calm = deriveEditState(recording, settings, kCanvas);
    EXPECT_EQ(quick->zoomSpecs, calm->zoomSpecs);
    EXPECT_DOUBLE_EQ(quick->zoomEngine->scaleKeys()[2].t, 9.525);
    EXPECT_DOUBLE_EQ(calm->zoomEngine->scaleKeys()[2].t, 9.945);
}

TEST(EditState, AZoomWithoutFocusOrWithImpossibleValuesIsAnError) {
    const Recording recording = recordingOf({});
    model::ProjectSettings settings;
    settings.zooms = {{9, 12, 2, {}}};
    try {
        deriveEditState(recording, settings, kCanvas);
        FAIL();
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(), "Der Zoom bei 9.00 s hat keinen Zielpunkt.");
    }
    for (const model::ZoomSpec& zoom :
         {model::ZoomSpec{1e17, 2, 2, {{0, 0, 0}}}, model::ZoomSpec{1, -1e300, 2, {{0, 0, 0}}},
          model::ZoomSpec{1, 2, 1e308, {{0, 0, 0}}}, model::ZoomSpec{1, 2, 2, {{1e300, 0, 0}}},
          model::ZoomSpec{1, 2, 2, {{1, 1e308, 0}}}, model::ZoomSpec{1, 2, 2, {{1, 0, -1e9}}}}) {
        settings.zooms = {zoom};
        EXPECT_THROW(deriveEditState(recording, settings, kCanvas), RecorderError);
    }
}

TEST(EditState, MoreMasksThanCanBeDrawnAreAnError) {
    const Recording recording = recordingOf({});
    model::ProjectSettings settings;
    settings.masks.assign(kMaximumMasks, {0.2, 0.3, 0.4, 0.5});
    EXPECT_EQ(deriveEditState(recording, settings, kCanvas)->layout.maskRects.size(), kMaximumMasks);
    settings.masks.push_back({0.2, 0.3, 0.4, 0.5});
    try {
        deriveEditState(recording, settings, kCanvas);
        FAIL();
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(),
                  "Das Projekt verpixelt 1001 Bereiche; mehr als 1000 können nicht gezeichnet werden.");
    }
}

TEST(EditState, AnImpossibleScaleOfProposedZoomsIsAnError) {
    model::ProjectSettings settings;
    settings.zoomScale = 1e300;
    EXPECT_THROW(deriveEditState(recordingOf({press(5, 100, 500)}), settings, kCanvas), RecorderError);
}

TEST(EditState, APreviousStateChangesNothingInTheResult) {
    const Recording recording = recordingOf({event(0, 0, 0), press(5, 100, 500), event(9, 800, 300)});
    model::ProjectSettings settings;
    const auto first = deriveEditState(recording, settings, kCanvas);
    settings.cornerRadius = 3;
    const auto second = deriveEditState(recording, settings, kCanvas, first.get());
    EXPECT_EQ(second->cursorEngine, first->cursorEngine) << "the same path is shared";
    settings.smoothing = 0.2;
    const auto third = deriveEditState(recording, settings, kCanvas, second.get());
    const auto fresh = deriveEditState(recording, settings, kCanvas);
    EXPECT_EQ(*third->cursorEngine, *fresh->cursorEngine);
    EXPECT_NE(*third->cursorEngine, *first->cursorEngine);
    EXPECT_EQ(*third->zoomEngine, *fresh->zoomEngine);
    EXPECT_EQ(third->layout, fresh->layout);
}

TEST(EditState, AnEmptyRecordingHasAStateToo) {
    const auto state = deriveEditState(recordingOf({}, capture(0)), {}, kCanvas);
    EXPECT_TRUE(state->keptSegments.empty());
    EXPECT_EQ(state->outputDuration, 0);
    EXPECT_EQ(state->cursorEngine->position(0), std::nullopt);
}

TEST(CursorShape, IsThatOfTheLastChangeAndTheFirstOneBeforeAny) {
    const std::vector<model::CursorChange> changes = {{1, "c0"}, {2, "c1"}, {2, "c2"}, {5, "hidden"}};
    EXPECT_EQ(*cursorShapeAt(changes, -3), "c0");
    EXPECT_EQ(*cursorShapeAt(changes, 1), "c0");
    EXPECT_EQ(*cursorShapeAt(changes, 1.99), "c0");
    EXPECT_EQ(*cursorShapeAt(changes, 2), "c2");
    EXPECT_EQ(*cursorShapeAt(changes, 99), "hidden");
    EXPECT_EQ(cursorShapeAt({}, 1), nullptr);
}

TEST(Recording, RefusesWhatNothingCanBeBuiltFrom) {
    model::CaptureInfo info = capture();
    info.pixelWidth = 0;
    EXPECT_THROW(recordingOf({}, info), RecorderError);
    info.pixelWidth = 9'000'000'000;
    EXPECT_THROW(recordingOf({}, info), RecorderError);
    for (const double duration : {1e30, 86'401.0, -1e30}) {
        EXPECT_THROW(recordingOf({}, capture(duration)), RecorderError);
    }
    EXPECT_THROW(recordingOf({press(1e300, 0, 0)}), RecorderError);
    EXPECT_THROW(recordingOf({press(1, 1e300, 0)}), RecorderError);
    EXPECT_THROW(recordingOf({press(1, 0, -1e10)}), RecorderError);
    info = capture();
    info.webcamOffset = 1e300;
    EXPECT_THROW(recordingOf({}, info), RecorderError);
}

TEST(Recording, RefusesPicturesThatNoDecoderGives) {
    const auto errorOf = [](std::int64_t width, std::int64_t height) -> std::string {
        model::CaptureInfo info = capture();
        info.pixelWidth = width;
        info.pixelHeight = height;
        try {
            recordingOf({}, info);
        } catch (const RecorderError& error) {
            return error.message();
        }
        return "no error";
    };
    EXPECT_EQ(errorOf(16384, 8192), "no error");
    EXPECT_EQ(errorOf(8192, 16384), "no error");
    EXPECT_EQ(errorOf(40000, 40000),
              "Die Bildgröße der Aufnahme ist unzulässig: 40000×40000 Pixel. Möglich sind höchstens 16384 in jeder "
              "Richtung und 134 Millionen im Ganzen.");
    for (const auto& [width, height] : {std::pair{16386, 2}, {2, 16386}, {16384, 8194}, {16384, 16384}}) {
        EXPECT_NE(errorOf(width, height), "no error") << width << "×" << height;
    }
}

TEST(Recording, DrawsOutThePresses) {
    const Recording recording =
        recordingOf({event(0, 0, 0), press(1, 1, 1), event(2, 2, 2, model::PointerKind::up), press(3, 3, 3)});
    ASSERT_EQ(recording.presses.size(), 2u);
    EXPECT_EQ(recording.presses[1].t, 3);
}

}  // namespace
}  // namespace lumivastor::edit
