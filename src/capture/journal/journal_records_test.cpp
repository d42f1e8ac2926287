// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/journal/journal_records.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "capture/pointer/cursor_shapes.h"
#include "support/temporary_folder.h"

namespace lumivastor::capture {
namespace {

JournalContent written() {
    JournalContent content;
    model::CaptureInfo& info = content.info;
    info.sourceKind = "window";
    info.displayID = 4294967295u;
    info.displayX = -100.25;
    info.displayY = 1.0 / 3;
    info.displayWidth = 800;
    info.displayHeight = 600;
    info.contentWidth = 800;
    info.contentHeight = 600.5;
    info.pointPixelScale = 1.25;
    info.pixelWidth = 1000;
    info.pixelHeight = 750;
    info.fps = 30;
    info.systemAudio = true;
    info.pointerKnown = model::KnownPointer::positions;
    info.windowTitle = "Größe – 100 % \n\t\x7f\"x\" ";
    content.geometry.displayBounds = {-1, 2, 3, 4};
    content.geometry.contentRect = {0, 0, 800, 600.5};
    content.geometry.pointPixelScale = 1.25;
    content.geometry.pixelSize = {1000, 750};
    content.session = {81234.567890123, 81234.6};
    content.webcamFirstPicture = 81233.1;
    content.pointer.events = {{1, {2, 3.5}, model::PointerKind::move, {}, {}, {}},
                              {2, {-2, 3e-7}, model::PointerKind::down, model::PointerButton::right, {}, {}},
                              {3, {2, 3}, model::PointerKind::drag, model::PointerButton::other, {}, {}},
                              {4, {2, 3}, model::PointerKind::up, model::PointerButton::left, {}, {}},
                              {5, {2, 3}, model::PointerKind::scroll, {}, 0, -1.5}};
    content.pointer.cursorImages = {{"c0", "cursors/c0.png", 24, 24.5, 1, 2, 2, true}, hiddenCursor()};
    content.pointer.cursorChanges = {{1, "c0"}, {2.5, "hidden"}};
    content.windowTrack = {{1, {1, 2, 3, 4}}, {2, {5, 6, 7, 8}}};
    content.displayTrack = {{1.5, {-800, 0.5}}, {2, {5, 6}}};
    content.counts = {3, 4, 5};
    content.marks = {4, 5.5};
    content.pauses.begin(2.25, true);
    content.pauses.end(2.5);
    content.pauses.begin(81234.75, false);
    return content;
}

std::vector<std::string> linesOf(const JournalContent& content) {
    std::vector<std::string> lines = {journalLine::header(), journalLine::start(content.info, content.geometry)};
    lines.push_back(journalLine::session(content.session->t0Host, content.session->t0Media));
    lines.push_back(journalLine::webcam(*content.webcamFirstPicture));
    for (const auto& each : content.pointer.events) lines.push_back(journalLine::event(each));
    for (const auto& each : content.pointer.cursorImages) lines.push_back(journalLine::shape(each));
    for (const auto& each : content.pointer.cursorChanges) lines.push_back(journalLine::cursorChange(each));
    for (const auto& each : content.windowTrack) lines.push_back(journalLine::window(each));
    for (const auto& each : content.displayTrack) lines.push_back(journalLine::display(each));
    lines.push_back(journalLine::pointer(*content.info.pointerKnown));
    lines.push_back(journalLine::counts({0, 0, 1}));
    lines.push_back(journalLine::counts(content.counts));
    for (const double each : content.marks) lines.push_back(journalLine::mark(each));
    const std::vector<Pause>& pauses = content.pauses.list();
    lines.push_back(journalLine::pause({pauses[0].from, std::nullopt, pauses[0].isByPointer}));
    for (const Pause& each : pauses) lines.push_back(journalLine::pause(each));
    return lines;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& each : lines) text += each;
    return text;
}

std::string start() {
    return journalLine::header() + journalLine::start(written().info, written().geometry);
}

std::string errorOf(const std::string& text) {
    try {
        parseJournal(text);
    } catch (const RecorderError& error) {
        return error.message();
    }
    return "no error";
}

TEST(JournalRecords, ReadBackWhatWasWritten) {
    EXPECT_EQ(parseJournal(joined(linesOf(written()))), written());
}

TEST(JournalRecords, APauseIsKnownByItsEndAlone) {
    const std::string first = journalLine::pause({5, std::nullopt, true});
    const std::string second = journalLine::pause({5, 7, true});
    for (const std::string& text : {first + second, second, second + second, second + first}) {
        EXPECT_EQ(parseJournal(start() + text).pauses.list(), (std::vector<Pause>{{5, 7, true}}));
    }
    EXPECT_TRUE(parseJournal(start() + first).pauses.isPaused());
}

TEST(JournalRecords, EveryTruncationIsReadUpToTheLastWholeLine) {
    const std::vector<std::string> lines = linesOf(written());
    const std::string text = joined(lines);
    const std::size_t needed = lines[0].size() + lines[1].size();
    std::size_t wholeLines = 0;
    std::size_t end = 0;
    for (std::size_t length = 0; length <= text.size(); ++length) {
        while (wholeLines < lines.size() && end + lines[wholeLines].size() <= length) end += lines[wholeLines++].size();
        if (length < needed) {
            EXPECT_NE(errorOf(text.substr(0, length)), "no error") << length;
            continue;
        }
        const JournalContent content = parseJournal(text.substr(0, length));
        EXPECT_EQ(content.damagedLines, length == end ? 0 : 1) << length;
        const std::size_t expectedEvents = std::min<std::size_t>(wholeLines > 4 ? wholeLines - 4 : 0, 5);
        EXPECT_EQ(content.pointer.events.size(), expectedEvents) << length;
    }
}

TEST(JournalRecords, ADamagedLineIsLeftOutAndTheRestIsRead) {
    std::vector<std::string> lines = linesOf(written());
    lines[5][20] ^= 1;
    const JournalContent content = parseJournal(joined(lines));
    EXPECT_EQ(content.damagedLines, 1);
    EXPECT_EQ(content.pointer.events.size(), 4u);
    EXPECT_EQ(content.counts, written().counts);
}

TEST(JournalRecords, AnyBitThatTurnsIsNoticed) {
    const std::string event = journalLine::event(written().pointer.events[1]);
    for (std::size_t i = 0; i + 1 < event.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            std::string damaged = event;
            damaged[i] = static_cast<char>(damaged[i] ^ (1 << bit));
            const JournalContent content = parseJournal(start() + damaged);
            EXPECT_TRUE(content.pointer.events.empty()) << i;
        }
    }
}

TEST(JournalRecords, WithoutItsBeginItIsRefused) {
    EXPECT_EQ(errorOf(""), "Der Anfang fehlt");
    EXPECT_EQ(errorOf("irgendetwas\nanderes"), "Der Anfang fehlt");
    EXPECT_EQ(errorOf(journalLine::header()), "Der Anfang fehlt");
    EXPECT_EQ(errorOf(journalLine::session(1, 2)), "Der Anfang fehlt (Zeile 1)");
    EXPECT_EQ(errorOf(journalLine::header() + journalLine::session(1, 2)), "Der Anfang fehlt (Zeile 2)");
    EXPECT_EQ(errorOf(journalLine::checked("LumiVastor-Journal 2")),
              "Es stammt von einer neueren Fassung von LumiVastor (Zeile 1)");
}

TEST(JournalRecords, WhatNoRecorderWritesIsRefused) {
    for (const std::string payload : {"",
                                      "e",
                                      "e 1 2",
                                      "e 1 2 3 hover",
                                      "e 1 2 3 down",
                                      "e 1 2 3 down middle",
                                      "e 1 2 3 move left",
                                      "e nan 2 3 move",
                                      "e inf 2 3 move",
                                      "e 1e10 2 3 move",
                                      "e 0x10 2 3 move",
                                      "e  1 2 3 move",
                                      "e 1 2 3 scroll 1",
                                      "session 1",
                                      "session 1 2 3",
                                      "webcam x",
                                      "window 1 2 3 4",
                                      "counts 1 2",
                                      "counts -1 2 3",
                                      "counts 99999999999999999999 2 3",
                                      "shape c0 1 2 3 4",
                                      "shape ../x 1 2 3 4 5",
                                      "shape c 1 2 3 4 5",
                                      "shape c1/../../x 1 2 3 4 5",
                                      "shape c99999999999 1 2 3 4 5",
                                      "cursor 1 ../../etc/passwd",
                                      "unbekannt 1"}) {
        EXPECT_NE(errorOf(start() + journalLine::checked(payload)), "no error") << payload;
    }
}

TEST(JournalRecords, ImpossibleBeginsAreRefused) {
    const std::string good = "display 7 0 0 1 1 0 0 1 1 0 0 1 1 1 640 480 60 0 0";
    const auto errorOfStart = [](const std::string& payload) {
        return errorOf(journalLine::header() + journalLine::checked("start " + payload));
    };
    EXPECT_EQ(errorOfStart(good), "no error");
    for (const std::string bad :
         {"screen 7 0 0 1 1 0 0 1 1 0 0 1 1 1 640 480 60 0 0", "display -1 0 0 1 1 0 0 1 1 0 0 1 1 1 640 480 60 0 0",
          "display 7 0 0 1 1 0 0 1 1 0 0 1 1 0 640 480 60 0 0", "display 7 0 0 1 1 0 0 1 1 0 0 1 1 1 0 480 60 0 0",
          "display 7 0 0 1 1 0 0 1 1 0 0 1 1 1 640 16385 60 0 0", "display 7 0 0 1 1 0 0 1 1 0 0 1 1 1 640 480 0 0 0",
          "display 7 0 0 1 1 0 0 1 1 0 0 1 1 1 16384 8193 60 0 0", "display 7 0 0 1 1 0 0 1 1 0 0 1 1 1 640 480 60 2 0",
          "display 7 0 0 1 1 0 0 1 1 0 0 1 1 1 640 480 60 0", "display 7 0 0 1 1 0 0 1 1 0 0 1 1 1 640 480 60 0 0 %4",
          "display 7 0 0 1 1 0 0 1 1 0 0 1 1 1 640 480 60 0 0 %zz", "display 7 0 0 1 1"}) {
        EXPECT_NE(errorOfStart(bad), "no error") << bad;
    }
    EXPECT_EQ(errorOfStart(good + " "), "no error");  // an empty title
}

TEST(JournalRecords, ShapesThatWereLostTakeTheirChangesAlong) {
    const JournalContent content =
        parseJournal(start() + journalLine::shape(hiddenCursor()) + journalLine::shape(hiddenCursor()) +
                     journalLine::cursorChange({1, "c0"}) + journalLine::cursorChange({2, "hidden"}));
    EXPECT_EQ(content.pointer.cursorImages.size(), 1u);
    EXPECT_EQ(content.pointer.cursorChanges, (std::vector<RawCursorChange>{{2, "hidden"}}));
}

TEST(JournalRecords, WindowSamplesArePutInOrder) {
    const JournalContent content =
        parseJournal(start() + journalLine::window({5, {}}) + journalLine::window({3, {1, 1, 1, 1}}));
    ASSERT_EQ(content.windowTrack.size(), 2u);
    EXPECT_EQ(content.windowTrack[0].t, 3);
}

TEST(JournalRecords, AFileThatIsNoJournalIsNamedInTheError) {
    const TemporaryFolder folder;
    folder.write("journal", "\x00\xff Unsinn");
    try {
        loadJournal(folder.path());
        FAIL();
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(), "Das Journal der Aufnahme kann nicht gelesen werden: Der Anfang fehlt.");
    }
    std::filesystem::remove(folder / "journal");
    EXPECT_THROW(loadJournal(folder.path()), RecorderError);
}

}  // namespace
}  // namespace lumivastor::capture
