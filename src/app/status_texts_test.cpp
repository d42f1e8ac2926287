// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/status_texts.h"

#include <gtest/gtest.h>

namespace lumivastor::app {
namespace {

TEST(ElapsedText, CutsOffToWholeSeconds) {
    EXPECT_EQ(elapsedText(0), "0:00");
    EXPECT_EQ(elapsedText(0.99), "0:00");
    EXPECT_EQ(elapsedText(59.999), "0:59");
    EXPECT_EQ(elapsedText(60), "1:00");
    EXPECT_EQ(elapsedText(75 * 60 + 3.5), "75:03");
    EXPECT_EQ(elapsedText(-1), "0:00");
}

TEST(RunningText, ShowsFiguresOfAScreen) {
    EXPECT_EQ(runningText(capture::RecordingJob::Stats{12.34, 700, 5, 2, 41}),
              "Läuft: 12.3 s · 700 Bilder · 2 verworfen · 41 Zeigerereignisse");
}

TEST(RunningText, ShowsFiguresAndNameOfADevice) {
    EXPECT_EQ(runningText(capture::RecordingJob::Stats{3.06, 90}, "iPhone"), "Läuft: 3.1 s · 90 Bilder (iPhone)");
}

TEST(FinishedText, NamesDroppedPicturesOnlyWhereThereAreSome) {
    EXPECT_EQ(finishedText(capture::RecordingJob::Stats{0.4, 24, 0, 0, 3}, "/videos/a"),
              "Fertig: 0.4 s, 24 Bilder (keine verworfenen Bilder), 3 Zeigerereignisse\nOrdner: /videos/a");
    EXPECT_EQ(finishedText(capture::RecordingJob::Stats{10, 600, 0, 7, 3}, "/videos/a"),
              "Fertig: 10.0 s, 600 Bilder (7 verworfene Bilder), 3 Zeigerereignisse\nOrdner: /videos/a");
    EXPECT_EQ(finishedText(capture::RecordingJob::Stats{2.25, 60}, "/videos/a"), "Fertig: 2.2 s, 60 Bilder");
}

TEST(CheckVideoText, TellsWhatToLookFor) {
    EXPECT_EQ(checkVideoText({"/videos/a/test-output.mov", 600, 9.98}),
              "Prüfvideo fertig: 600 Bilder, 10.0 s\ntest-output.mov\n\n"
              "Beim Ansehen prüfen: Sitzt der Ring genau auf dem angeklickten\n"
              "Knopf, und knackt der Klick im Ton im selben Moment?");
}

TEST(RegionText, RoundsToWholePoints) {
    EXPECT_EQ(regionText({640.4, 359.6}), "Ausschnitt: 640 × 360 Punkte");
}

TEST(StopWaysText, NamesOnlyWhatIsThere) {
    const std::string all = stopWaysText(true, "Strg+S");
    EXPECT_EQ(all,
              "Während der Aufnahme ist dieses Fenster weg. So stoppst du sie:\n•  Symbol in der Leiste\n•  Strg+S\n•  "
              "Freigabe-Anzeige des Desktops\n•  LumiVastor noch einmal starten, oder „lumivastor stop“");
    const std::string least = stopWaysText(false, std::nullopt);
    EXPECT_EQ(least.find("Leiste"), std::string::npos);
    EXPECT_EQ(least.find("Strg"), std::string::npos);
    EXPECT_NE(least.find("„lumivastor stop“"), std::string::npos);
}

}  // namespace
}  // namespace lumivastor::app
