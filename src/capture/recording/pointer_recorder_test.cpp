// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/pointer_recorder.h"

#include <gtest/gtest.h>

#include "base/recorder_error.h"
#include "capture/journal/journal.h"
#include "capture/journal/journal_records.h"
#include "capture/pointer/pointer_conversion.h"
#include "imaging/png_file.h"
#include "support/await.h"
#include "support/recorder_rig.h"

namespace lumivastor::capture {
namespace {

class PointerRecorders : public RecorderRig {
  protected:
    PointerRecorders() {
        std::filesystem::create_directories(folder_);
        desktop_.setPointerLocation(Point{110, 120});
        geometry_.pixelSize = {640, 480};
    }

    void start() { recorder_.start({{0, 0}, 2}, nullptr); }

    model::PointerTrack saved(double t0 = 0) {
        recorder_.stop();
        const std::int64_t count = recorder_.save(folder_, t0, geometry_, std::nullopt);
        model::PointerTrack track = model::PointerTrack::load(folder_);
        EXPECT_EQ(count, static_cast<std::int64_t>(track.events.size()));
        return track;
    }

    bool journalHolds(std::size_t events) const {
        try {
            return loadJournal(folder_).pointer.events.size() == events;
        } catch (const RecorderError&) {
            return false;  // nothing is written yet
        }
    }

    model::Geometry geometry_;
    PointerRecorder recorder_{services_, folder_};
};

TEST_F(PointerRecorders, TheFirstEventIsAMoveAtThePointersPosition) {
    start();
    EXPECT_EQ(recorder_.eventCount(), 1);
    EXPECT_EQ(desktop_.monitorSpace(), (platform::PointSpace{{0, 0}, 2}));
    const model::PointerTrack track = saved(loop_.now() + 0.5);
    ASSERT_EQ(track.events.size(), 1u);
    EXPECT_EQ(track.events[0],
              (model::PointerSample{-0.5, 110, 120, 110.0 / 640, 0.25, model::PointerKind::move, {}, {}, {}}));
}

TEST_F(PointerRecorders, EventsAreRecordedUntilItIsStopped) {
    start();
    desktop_.emitPointer({platform::PointerEventType::leftMouseDown, loop_.now() + 1, {10, 20}, 0, 0});
    desktop_.emitPointer({platform::PointerEventType::scrollWheel, loop_.now() + 2, {10, 20}, -1.5, 3});
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now() + 4, {30, 20}, 0, 0});
    EXPECT_EQ(recorder_.eventCount(), 4);
    const double t0 = loop_.now();
    recorder_.stop();
    EXPECT_EQ(desktop_.monitorCount(), 0);
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now() + 5, {30, 20}, 0, 0});
    EXPECT_EQ(recorder_.eventCount(), 4);
    const model::PointerTrack track = saved(t0);
    ASSERT_EQ(track.events.size(), 4u);
    EXPECT_EQ(track.events[1].button, model::PointerButton::left);
    EXPECT_EQ(track.events[2].dx, -1.5);
    EXPECT_EQ(track.events[2].dy, 3);
    EXPECT_FALSE(track.windowFrames.has_value());
}

TEST_F(PointerRecorders, AClickHalfASecondBeforeTheEndIsNotSavedButAMoveIs) {
    start();
    const double now = loop_.now();
    desktop_.emitPointer({platform::PointerEventType::leftMouseDown, now + 9.5, {10, 20}, 0, 0});
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, now + 9.5, {11, 20}, 0, 0});
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, now + 10, {12, 20}, 0, 0});
    const model::PointerTrack track = saved(now);
    ASSERT_EQ(track.events.size(), 3u);
    EXPECT_EQ(track.events[1].t, 9.5);
    EXPECT_EQ(track.events[1].kind, model::PointerKind::move);
}

TEST_F(PointerRecorders, WithoutAMonitorTheRestIsRecorded) {
    desktop_.setPointerCanBeWatched(false);
    start();
    EXPECT_TRUE(logged("[Pointer] Globaler Monitor konnte nicht angelegt werden"));
    EXPECT_EQ(saved().events.size(), 1u);
}

TEST_F(PointerRecorders, TheCursorIsPolledThirtyTimesASecond) {
    start();
    EXPECT_EQ(recorder_.missingCursorPolls(), 1);
    loop_.advance(1);
    EXPECT_EQ(recorder_.missingCursorPolls(), 31);
    recorder_.stop();
    loop_.advance(1);
    EXPECT_EQ(recorder_.missingCursorPolls(), 31);
}

TEST_F(PointerRecorders, WithoutAnyCursorThereIsOnlyTheHiddenShape) {
    start();
    loop_.advance(0.5);
    const model::PointerTrack track = saved(1000);
    ASSERT_EQ(track.cursorImages.size(), 1u);
    EXPECT_EQ(track.cursorImages[0], (model::CursorImage{"hidden", "", 0, 0, 0, 0, 1, false}));
    EXPECT_EQ(track.cursorChanges, (std::vector<model::CursorChange>{{0, "hidden"}}));
    EXPECT_EQ(recorder_.missingCursorPolls(), 16);
    EXPECT_TRUE(std::filesystem::is_empty(folder_ / "cursors"));
}

TEST_F(PointerRecorders, PollsThatTheDesktopDoesNotAnswerSayNothing) {
    desktop_.setCursor(cursor(1, 24, 32));
    start();
    loop_.advance(0.5);
    desktop_.failCursor(RecorderError("Die Verbindung zum Bildschirm ist abgerissen."));
    loop_.advance(1);
    EXPECT_EQ(recorder_.missingCursorPolls(), 0);
    desktop_.failCursor(std::nullopt);
    loop_.advance(0.5);
    const model::PointerTrack track = saved(1000);
    EXPECT_EQ(track.cursorChanges, (std::vector<model::CursorChange>{{0, "c0"}}));
    ASSERT_EQ(track.cursorImages.size(), 1u);
    EXPECT_EQ(track.cursorImages[0].id, "c0");
}

TEST_F(PointerRecorders, ShapesAreNumberedByFirstAppearanceAndUsedAgain) {
    desktop_.setCursor(cursor(1, 24, 32, 10));
    start();
    EXPECT_TRUE(std::filesystem::exists(folder_ / "cursors/c0.png")) << "at once, not only in the end";
    loop_.advance(1);
    desktop_.setCursor(cursor(2, 48, 48, 20));
    loop_.advance(1);
    desktop_.setCursor(std::nullopt);
    loop_.advance(1);
    desktop_.setCursor(cursor(3, 24, 32, 10));  // the first one again, under another serial
    loop_.advance(1);
    desktop_.setCursor(cursor(4, 24, 32, 10, 5));  // the same picture with another hot spot
    loop_.advance(1);
    const model::PointerTrack track = saved(1000);
    std::vector<std::string> ids;
    for (const model::CursorChange& each : track.cursorChanges) ids.push_back(each.id);
    EXPECT_EQ(ids, (std::vector<std::string>{"c0", "c1", "hidden", "c0", "c2"}));
    EXPECT_EQ(track.cursorChanges[0].t, 0);
    EXPECT_NEAR(track.cursorChanges[1].t, 1 + 1.0 / 30, 1e-6);
    ASSERT_EQ(track.cursorImages.size(), 4u);
    EXPECT_EQ(track.cursorImages[0], (model::CursorImage{"c0", "cursors/c0.png", 12, 16, 0.5, 1, 2, true}));
    EXPECT_EQ(track.cursorImages[2].hotspotX, 2.5);
    const auto picture = imaging::readPng(folder_ / "cursors/c1.png");
    EXPECT_EQ(picture.width(), 48);
    EXPECT_EQ(picture.pixel(3, 3)[0], 20);
}

TEST_F(PointerRecorders, ACursorWithoutAPictureIsTriedAgain) {
    desktop_.setCursor(cursor(1, 0, 0));
    start();
    loop_.advance(0.5);
    desktop_.setCursor(cursor(1, 16, 16));
    loop_.advance(0.5);
    const model::PointerTrack track = saved(1000);
    ASSERT_EQ(track.cursorChanges.size(), 1u);
    EXPECT_EQ(track.cursorChanges[0].id, "c0");
    EXPECT_GT(track.cursorChanges[0].t, 0.5);
    EXPECT_EQ(recorder_.missingCursorPolls(), 0);
}

TEST_F(PointerRecorders, PicturesThatTheDiskRefusedAreWrittenInTheEnd) {
    // A file where the folder should be.
    temporary_.write("recording/cursors", "x");
    desktop_.setCursor(cursor(1, 16, 16));
    start();
    std::filesystem::remove(folder_ / "cursors");
    const model::PointerTrack track = saved();
    EXPECT_EQ(track.cursorImages[0].file, "cursors/c0.png");
    EXPECT_EQ(imaging::readPng(folder_ / "cursors/c0.png").width(), 16);
}

TEST_F(PointerRecorders, WhatCannotBeSavedIsAnError) {
    temporary_.write("recording/cursors", "x");
    desktop_.setCursor(cursor(1, 16, 16));
    start();
    recorder_.stop();
    EXPECT_THROW(recorder_.save(folder_, 0, geometry_, std::nullopt), RecorderError);
    std::filesystem::remove(folder_ / "cursors");
    std::filesystem::create_directory(folder_ / "pointer.json");
    EXPECT_THROW(recorder_.save(folder_, 0, geometry_, std::nullopt), RecorderError);
}

TEST_F(PointerRecorders, TheJournalHoldsTheSame) {
    Journal journal(folder_);
    model::CaptureInfo info;
    info.sourceKind = "display";
    info.pixelWidth = 640;
    info.pixelHeight = 480;
    journal.append(journalLine::start(info, geometry_));
    desktop_.setCursor(cursor(1, 24, 32, 10));
    recorder_.start({{0, 0}, 2}, &journal);
    desktop_.emitPointer({platform::PointerEventType::rightMouseDown, loop_.now() + 1, {10, 20}, 0, 0});
    loop_.advance(0.5);
    desktop_.setCursor(std::nullopt);
    loop_.advance(0.5);
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now() + 3, {10, 20}, 0, 0});
    ASSERT_TRUE(await(30, [this] { return journalHolds(3); }));
    const model::PointerTrack recovered = pointerTrack(loadJournal(folder_).pointer, 1000, geometry_, std::nullopt);
    EXPECT_EQ(recovered, saved(1000));
    EXPECT_EQ(recovered.events.size(), 3u);
    EXPECT_EQ(recovered.cursorImages.size(), 2u);
}

TEST_F(PointerRecorders, SaysWhatItDoesInTheLog) {
    desktop_.setCursor(cursor(1, 24, 32));
    start();
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now() + 1, {10, 20}, 0, 0});
    saved();
    EXPECT_EQ(log(), (std::vector<std::string>{"[Pointer] Aufzeichnung gestartet",
                                               "[Pointer] Aufzeichnung beendet, 2 Ereignisse",
                                               "[Pointer] gesichert: 2 Ereignisse, 1 Cursorformen"}));
}

}  // namespace
}  // namespace lumivastor::capture
