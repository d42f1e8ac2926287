// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/capture_info.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "base/recorder_error.h"
#include "model/record_fields.h"
#include "support/temporary_folder.h"

namespace lumivastor::model {
namespace {

CaptureInfo displayCapture() {
    CaptureInfo info;
    info.createdAt = "2024-05-01T09:30:12Z";
    info.displayID = 4294967295u;
    info.displayX = -1920;
    info.displayWidth = 1920;
    info.displayHeight = 1080;
    info.contentX = 12.5;
    info.contentWidth = 960;
    info.contentHeight = 540;
    info.pointPixelScale = 1.25;
    info.pixelWidth = 1200;
    info.pixelHeight = 676;
    info.fps = 60;
    info.systemAudio = true;
    info.t0HostClock = 81234.567890123;
    info.t0MediaTime = 81234.6;
    info.duration = 12.5;
    info.framesWritten = 740;
    info.framesSkippedIdle = 9;
    info.framesDroppedBackpressure = 1;
    info.pointerEvents = 88;
    info.cursorPollsWithoutCursor = 2;
    info.sourceKind = "region";
    return info;
}

constexpr const char* kDisplayText = R"({
  "contentHeight" : 540,
  "contentWidth" : 960,
  "contentX" : 12.5,
  "contentY" : 0,
  "createdAt" : "2024-05-01T09:30:12Z",
  "cursorPollsWithoutCursor" : 2,
  "displayHeight" : 1080,
  "displayID" : 4294967295,
  "displayWidth" : 1920,
  "displayX" : -1920,
  "displayY" : 0,
  "duration" : 12.5,
  "fps" : 60,
  "framesDroppedBackpressure" : 1,
  "framesSkippedIdle" : 9,
  "framesWritten" : 740,
  "microphone" : false,
  "pixelHeight" : 676,
  "pixelWidth" : 1200,
  "pointPixelScale" : 1.25,
  "pointerEvents" : 88,
  "sourceKind" : "region",
  "systemAudio" : true,
  "t0HostClock" : 81234.567890123,
  "t0MediaTime" : 81234.6,
  "version" : 1
})";

CaptureInfo parsed(const std::string& text) {
    return CaptureInfo::parse(FileBytes::copyOf(text));
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    const auto at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), by);
}

std::string errorOf(const std::string& text) {
    try {
        parsed(text);
    } catch (const RecorderError& error) {
        return error.message();
    }
    return "no error";
}

TEST(CaptureInfo, IsWrittenSortedIndentedAndWithoutAbsentFields) {
    const TemporaryFolder folder;
    displayCapture().save(folder.path());
    EXPECT_EQ(folder.read("capture.json"), kDisplayText);
}

TEST(CaptureInfo, ReadsBackWhatWasWritten) {
    const TemporaryFolder folder;
    CaptureInfo info = displayCapture();
    EXPECT_EQ(parsed(kDisplayText), info);
    info.webcamFile = "webcam.mov";
    info.webcamOffset = -0.125;
    info.windowTitle = "Über „uns“ – \\ / \"x\"";
    info.save(folder.path());
    EXPECT_EQ(CaptureInfo::load(folder.path()), info);
}

TEST(CaptureInfo, AWindowCaptureHasDisplayZeroAndTheWindowsFrame) {
    CaptureInfo info = displayCapture();
    info.displayID = 0;
    info.displayX = 300;
    info.sourceKind = "window";
    const TemporaryFolder folder;
    info.save(folder.path());
    const std::string text = folder.read("capture.json");
    EXPECT_NE(text.find("\"displayID\" : 0,"), std::string::npos);
    EXPECT_NE(text.find("\"displayX\" : 300,"), std::string::npos);
    EXPECT_NE(text.find("\"sourceKind\" : \"window\""), std::string::npos);
}

TEST(CaptureInfo, WithoutWebcamNeitherWebcamKeyIsWritten) {
    const TemporaryFolder folder;
    displayCapture().save(folder.path());
    EXPECT_EQ(folder.read("capture.json").find("webcam"), std::string::npos);
}

TEST(CaptureInfo, SaysWhatIsKnownOfThePointerUnlessItIsEverything) {
    CaptureInfo info = displayCapture();
    EXPECT_TRUE(info.knowsPositions());
    EXPECT_TRUE(info.knowsClicks());
    const std::pair<KnownPointer, const char*> names[] = {{KnownPointer::positions, "\"positions\""},
                                                          {KnownPointer::embedded, "\"embedded\""},
                                                          {KnownPointer::none, "\"none\""}};
    for (const auto& [known, name] : names) {
        info.pointerKnown = known;
        EXPECT_EQ(info.knowsPositions(), known == KnownPointer::positions);
        EXPECT_FALSE(info.knowsClicks());
        const TemporaryFolder folder;
        info.save(folder.path());
        EXPECT_NE(folder.read("capture.json").find("\"pointerKnown\" : " + std::string(name) + ","), std::string::npos);
        EXPECT_EQ(CaptureInfo::load(folder.path()), info);
    }
    EXPECT_EQ(errorOf(replaced(kDisplayText, "{\n", "{\"pointerKnown\": \"clicks\",")),
              "Feld „pointerKnown“ hat einen unbekannten Wert");
}

TEST(CaptureInfo, OptionalFieldsMayBeNullOrMissing) {
    const CaptureInfo info = parsed(replaced(kDisplayText, "\"region\"", "null"));
    EXPECT_EQ(info.sourceKind, std::nullopt);
    EXPECT_EQ(info.webcamFile, std::nullopt);
}

TEST(CaptureInfo, EveryOtherKeyIsRequired) {
    std::size_t required = 0;
    for (const std::string_view key : fieldKeys<CaptureInfo>()) {
        const std::string quoted = "\"" + std::string(key) + "\"";
        const std::string text = kDisplayText;
        if (text.find(quoted) == std::string::npos || key == "sourceKind") continue;
        ++required;
        EXPECT_EQ(errorOf(replaced(text, quoted, "\"x\"")), "Feld „" + std::string(key) + "“ fehlt");
    }
    EXPECT_EQ(required, 25u);
}

TEST(CaptureInfo, NullForARequiredKeyIsAnError) {
    EXPECT_EQ(errorOf(replaced(kDisplayText, " : 740", " : null")), "Feld „framesWritten“ ist keine ganze Zahl");
    EXPECT_EQ(errorOf(replaced(kDisplayText, " : 12.5,\n  \"fps", " : null,\n  \"fps")),
              "Feld „duration“ ist keine Zahl");
}

TEST(CaptureInfo, UnknownKeysAreIgnoredButMustBeValidJson) {
    EXPECT_EQ(parsed(replaced(kDisplayText, "{\n", "{\"extra\": {\"a\": [1, null, \"\\u00e4\", true, -1.5e3]},")),
              displayCapture());
    for (const char* broken : {"{\"extra\": [},", "{\"extra\": nul,", "{\"extra\": 01,", "{\"extra\": \"\\x\",",
                               "{\"extra\": {\"a\" 1},", "{\"extra\": tru,", "{\"extra\": 1e999,", "{\"extra\": +1,"}) {
        EXPECT_NE(errorOf(replaced(kDisplayText, "{\n", broken)), "no error") << broken;
    }
}

TEST(CaptureInfo, WholeNumbersMayBeWrittenWithAFraction) {
    EXPECT_EQ(parsed(replaced(kDisplayText, " : 740", " : 740.0")).framesWritten, 740);
    EXPECT_EQ(parsed(replaced(kDisplayText, " : 740", " : 7.4e2")).framesWritten, 740);
    EXPECT_EQ(errorOf(replaced(kDisplayText, " : 740", " : 740.5")), "Feld „framesWritten“ ist keine ganze Zahl");
}

TEST(CaptureInfo, NumbersBeyondTheirRangeAreAnError) {
    EXPECT_EQ(errorOf(replaced(kDisplayText, "4294967295", "4294967296")),
              "Feld „displayID“ ist zu groß oder zu klein");
    EXPECT_EQ(errorOf(replaced(kDisplayText, "4294967295", "-1")), "Feld „displayID“ ist zu groß oder zu klein");
    EXPECT_EQ(errorOf(replaced(kDisplayText, " : 740", " : 1e300")), "Feld „framesWritten“ ist zu groß");
    EXPECT_EQ(errorOf(replaced(kDisplayText, " : 740", " : 99999999999999999999")), "Feld „framesWritten“ ist zu groß");
    EXPECT_EQ(errorOf(replaced(kDisplayText, "81234.6", "1e400")), "Feld „t0MediaTime“ ist keine Zahl");
    EXPECT_EQ(errorOf(replaced(kDisplayText, "81234.6", "NaN")), "Feld „t0MediaTime“ ist keine Zahl");
    EXPECT_EQ(errorOf(replaced(kDisplayText, "81234.6", "Infinity")), "Feld „t0MediaTime“ ist keine Zahl");
}

TEST(CaptureInfo, WrongTypesAreAnErrorThatNamesTheField) {
    EXPECT_EQ(errorOf(replaced(kDisplayText, "\"systemAudio\" : true", "\"systemAudio\" : 1")),
              "Feld „systemAudio“ ist kein Wahrheitswert");
    EXPECT_EQ(errorOf(replaced(kDisplayText, "\"2024-05-01T09:30:12Z\"", "20240501")),
              "Feld „createdAt“ ist kein Text");
    EXPECT_EQ(errorOf(replaced(kDisplayText, "\"region\"", "[]")), "Feld „sourceKind“ ist kein Text");
    EXPECT_EQ(errorOf(replaced(kDisplayText, " : 740", " : \"740\"")), "Feld „framesWritten“ ist keine ganze Zahl");
}

TEST(CaptureInfo, AKeyThatStandsTwiceIsAnError) {
    EXPECT_EQ(errorOf(replaced(kDisplayText, "{\n", "{\"fps\": 30,")), "Feld „fps“ kommt zweimal vor");
    // The same key, spelled with an escape.
    EXPECT_EQ(errorOf(replaced(kDisplayText, "{\n", "{\"\\u0066ps\": 30,")), "Feld „fps“ kommt zweimal vor");
}

TEST(CaptureInfo, EncodingsOtherThanUtf8AreNamed) {
    EXPECT_EQ(errorOf("\xEF\xBB\xBF" + std::string(kDisplayText)), "Am Anfang steht eine Byte-Order-Markierung");
    std::string wide;
    for (const char c : std::string(kDisplayText)) wide += {c, '\0'};
    EXPECT_EQ(errorOf(wide), "Der Text ist in UTF-16 oder UTF-32 statt in UTF-8 geschrieben");
    EXPECT_EQ(errorOf("\xFF\xFE" + wide), "Der Text ist in UTF-16 oder UTF-32 statt in UTF-8 geschrieben");
    EXPECT_EQ(errorOf(replaced(kDisplayText, "region", "reg\xE4n")), "Der Text ist nicht in UTF-8 geschrieben");
}

TEST(CaptureInfo, WhatFollowsTheDocumentIsAnError) {
    EXPECT_EQ(parsed(kDisplayText + std::string("\n \n")), displayCapture());
    for (const std::string& rest : {std::string("{}"), std::string("x"), std::string("}"), std::string("]"),
                                    std::string(","), std::string("\0x", 2), std::string("\0", 1)}) {
        EXPECT_NE(errorOf(kDisplayText + rest), "no error") << rest;
    }
}

TEST(CaptureInfo, EveryTruncationIsAnError) {
    const std::string whole = kDisplayText;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_NE(errorOf(whole.substr(0, length)), "no error") << length;
    }
}

TEST(CaptureInfo, WhatIsNoObjectIsAnError) {
    for (const char* text : {"[]", "1", "null", "\"x\"", "   ", "true", "{", "[[", "]"}) {
        EXPECT_NE(errorOf(text), "no error") << text;
    }
}

TEST(CaptureInfo, DeepNestingIsAnError) {
    for (const std::size_t depth : {100u, 1'000'000u}) {
        const std::string nested = std::string(depth, '[') + std::string(depth, ']');
        EXPECT_EQ(errorOf(replaced(kDisplayText, "{\n", "{\"extra\":" + nested + ",")),
                  "Das Dokument ist zu tief verschachtelt");
    }
}

TEST(CaptureInfo, AFileThatCannotBeReadIsNamed) {
    const TemporaryFolder folder;
    const auto messageOf = [&folder] {
        try {
            CaptureInfo::load(folder.path());
        } catch (const RecorderError& error) {
            return error.message();
        }
        return std::string("no error");
    };
    EXPECT_EQ(messageOf(), "„capture.json“ konnte nicht gelesen werden: Datei oder Ordner nicht gefunden.");
    folder.write("capture.json", "{}");
    EXPECT_EQ(messageOf(), "„capture.json“ konnte nicht gelesen werden: Feld „version“ fehlt.");
    folder.write("capture.json", std::string(17 << 20, ' '));
    EXPECT_EQ(messageOf(), "„capture.json“ konnte nicht gelesen werden: Die Datei ist zu groß.");
}

TEST(CaptureInfo, AFolderThatIsMissingIsAnErrorWhenWriting) {
    EXPECT_THROW(displayCapture().save("/nowhere/at/all"), RecorderError);
}

TEST(CaptureInfo, TimestampsAreIsoInUtc) {
    EXPECT_EQ(CaptureInfo::timestamp(1714555812), "2024-05-01T09:30:12Z");
    EXPECT_EQ(CaptureInfo::timestamp(0), "1970-01-01T00:00:00Z");
}

}  // namespace
}  // namespace lumivastor::model
