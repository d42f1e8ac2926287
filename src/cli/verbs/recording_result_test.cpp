// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/recording_result.h"

#include <gtest/gtest.h>

#include <sstream>

#include "cli/verbs/sources.h"

namespace lumivastor::cli {
namespace {

TEST(RecordingResult, IsTheStatsAndTheFolder) {
    std::ostringstream out;
    writeRecordingResult(out, capture::RecordingJob::Stats{1.5, 90, 3, 2, 7}, "/a/b/../c");
    EXPECT_EQ(out.str(), R"({
  "duration" : 1.5,
  "framesWritten" : 90,
  "framesSkippedIdle" : 3,
  "framesDropped" : 2,
  "pointerEvents" : 7,
  "folder" : "/a/c"
}
)");
    std::ostringstream recovered;
    writeRecordingResult(recovered, capture::RecordingJob::Stats{1.5, 90, 3, 2, 7}, "/a", {.recovered = true});
    EXPECT_NE(recovered.str().find("\"recovered\" : true"), std::string::npos);
    std::ostringstream device;
    writeRecordingResult(device, capture::RecordingJob::Stats{2.5, 4}, "/a");
    EXPECT_EQ(device.str(), "{\n  \"duration\" : 2.5,\n  \"framesWritten\" : 4,\n  \"folder\" : \"/a\"\n}\n");
}

TEST(RecordingResult, SaysWhyARecordingEndedByItself) {
    const RecordingRemarks remarks{.endedEarly = "Das „Fenster“ wurde geschlossen."};
    std::ostringstream screen;
    writeRecordingResult(screen, capture::RecordingJob::Stats{1.5, 90, 3, 2, 7}, "/a", remarks);
    std::ostringstream device;
    writeRecordingResult(device, capture::RecordingJob::Stats{2.5, 4}, "/a", remarks);
    for (const std::string& text : {screen.str(), device.str()}) {
        EXPECT_TRUE(text.ends_with("\"/a\",\n  \"endedEarly\" : \"Das „Fenster“ wurde geschlossen.\"\n}\n")) << text;
    }
}

TEST(RecordingResult, SaysWhatWasLost) {
    std::ostringstream out;
    writeRecordingResult(out, capture::RecordingJob::Stats{2.5, 4}, "/a",
                         {.losses = "Ab 0:12 gingen Bilder verloren."});
    EXPECT_TRUE(out.str().ends_with("\"/a\",\n  \"losses\" : \"Ab 0:12 gingen Bilder verloren.\"\n}\n")) << out.str();
}

TEST(RecordingResult, IsASentenceForPeople) {
    EXPECT_EQ(describeRecording(capture::RecordingJob::Stats{1.5, 90, 3, 0, 7}, "/a"),
              "Fertig: 1.5 s, 90 Bilder (keine verworfenen Bilder), 7 Zeigerereignisse\nOrdner: /a\n");
    EXPECT_EQ(describeRecording(capture::RecordingJob::Stats{1.5, 90, 3, 2, 7}, "/a"),
              "Fertig: 1.5 s, 90 Bilder (2 verworfene Bilder), 7 Zeigerereignisse\nOrdner: /a\n");
    EXPECT_EQ(describeRecording(capture::RecordingJob::Stats{1.5, 90}, "/a"), "Fertig: 1.5 s, 90 Bilder\nOrdner: /a\n");
    EXPECT_EQ(runningLine(capture::RecordingJob::Stats{1.5, 90, 3, 2, 7}),
              "Läuft: 1.5 s · 90 Bilder · 2 verworfen · 7 Zeigerereignisse");
}

TEST(SourcesDocument, HasDisplaysWindowsAndDevices) {
    const Sources sources{{{7, "links", {0, 0, 640, 360}, 2}},
                          {{42, "Bericht", platform::RunningApplication{1, "w", "Schreiber"}, 0, {1, 2, 300, 200}, 7}},
                          {{"dev", "Telefon", true, 0}}};
    std::ostringstream out;
    writeSources(sources, out);
    EXPECT_EQ(out.str(), R"({
  "displays" : [
    {
      "index" : 0,
      "id" : 7,
      "name" : "links",
      "x" : 0,
      "y" : 0,
      "width" : 640,
      "height" : 360,
      "scale" : 2
    }
  ],
  "windows" : [
    {
      "id" : 42,
      "application" : "Schreiber",
      "title" : "Bericht",
      "x" : 1,
      "y" : 2,
      "width" : 300,
      "height" : 200
    }
  ],
  "devices" : [
    {
      "id" : "dev",
      "name" : "Telefon"
    }
  ]
}
)");
    std::ostringstream text;
    printSources(sources, text);
    EXPECT_NE(text.str().find("--display 0  Bildschirm 1 – 1280×720 px (links)"), std::string::npos);
    EXPECT_NE(text.str().find("--window 42  Schreiber – Bericht"), std::string::npos);
    EXPECT_NE(text.str().find("--device dev  Telefon"), std::string::npos);
}

}  // namespace
}  // namespace lumivastor::cli
