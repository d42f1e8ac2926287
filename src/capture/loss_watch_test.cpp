// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/loss_watch.h"

#include <gtest/gtest.h>

#include <string>

namespace lumivastor::capture {
namespace {

// A recording at 60 pictures a second, half a second at a time.
class Watched {
  public:
    RecordingHealth health{.fps = 60};
    LossWatch watch;

    void pass(double seconds, int lostEachHalf = 0, int missedEachHalf = 0) {
        for (double passed = 0; passed < seconds; passed += 0.5) {
            health.seconds += 0.5;
            health.screen.written += 30 - lostEachHalf - missedEachHalf;
            health.screen.lost += lostEachHalf;
            health.missed += missedEachHalf;
            if (health.webcam) {
                health.webcam->delivered += delivered;
                health.webcam->changed += changed;
                health.webcam->movie.written += delivered - cameraLost;
                health.webcam->movie.lost += cameraLost;
            }
            watch.update(health);
        }
    }
    int delivered = 15, changed = 1, cameraLost = 0;  // each half second
};

TEST(LossWatch, SaysNothingWhileAllIsWell) {
    Watched watched;
    watched.health.webcam = RecordingHealth::Webcam();
    watched.pass(60);
    EXPECT_EQ(watched.watch.screenSentence(), "");
    EXPECT_EQ(watched.watch.webcamSentence(), "");
    EXPECT_EQ(watched.watch.summary(), "");
}

TEST(LossWatch, MoreThanOnePercentOfFiveSecondsIsSaid) {
    Watched watched;
    watched.pass(10);
    // 3 of 300 are one percent, and not more.
    watched.health.screen.lost += 3;
    watched.health.screen.written -= 3;
    watched.pass(0.5);
    EXPECT_EQ(watched.watch.screenSentence(), "");
    watched.health.screen.lost += 1;
    watched.health.screen.written -= 1;
    watched.pass(0.5);
    EXPECT_EQ(watched.watch.screenSentence(),
              "Über 1 % der Bilder gehen verloren: der Encoder kommt nicht nach. Es hilft, anderes zu beenden oder mit "
              "30 Bildern pro Sekunde aufzunehmen.");
    watched.pass(4);
    EXPECT_NE(watched.watch.screenSentence(), "");
    watched.pass(1);
    EXPECT_EQ(watched.watch.screenSentence(), "");
}

TEST(LossWatch, TellsTheDiskAndTheDesktopFromTheEncoder) {
    Watched watched;
    watched.health.fps = 30;
    watched.pass(10);
    watched.health.screen.diskWaits += 1;
    watched.pass(0.5, 4);
    EXPECT_EQ(watched.watch.screenSentence(),
              "Über 1 % der Bilder gehen verloren: der Datenträger ist zu langsam. Beende, was sonst noch darauf "
              "schreibt.");
    watched.pass(6, 0, 5);
    EXPECT_EQ(watched.watch.screenSentence(),
              "Der Desktop liefert Bilder zu langsam, Bewegung kann ruckeln. Es hilft, anderes zu beenden.");
    EXPECT_TRUE(watched.watch.summary().ends_with(" s lang Bilder zu langsam, Bewegung kann ruckeln."))
        << watched.watch.summary();
}

TEST(LossWatch, TheShareIsSaidInSteps) {
    for (const auto& [lost, text] : {std::pair{1, "Über 1 %"},
                                     {2, "Über 5 %"},
                                     {4, "Über 10 %"},
                                     {10, "Über 25 %"},
                                     {20, "Über 50 %"},
                                     {30, "Über 50 %"}}) {
        Watched watched;
        watched.pass(8, lost);
        EXPECT_TRUE(watched.watch.screenSentence().starts_with(text)) << watched.watch.screenSentence();
    }
}

TEST(LossWatch, OnePictureOfFewIsChance) {
    LossWatch watch;
    RecordingHealth health{.fps = 60};
    for (int second = 1; second <= 20; ++second) {
        health.seconds = second;
        health.screen.written += 1;
        if (second == 12) health.screen.lost += 1;
        watch.update(health);
        EXPECT_EQ(watch.screenSentence(), "") << second;
    }
}

TEST(LossWatch, AStartIsNoMeasure) {
    Watched watched;
    watched.pass(4.5, 10);
    EXPECT_EQ(watched.watch.screenSentence(), "");
    watched.pass(6);
    EXPECT_EQ(watched.watch.screenSentence(), "");
}

TEST(LossWatch, ARecordingThatStandsStillChangesNothing) {
    Watched watched;
    watched.health.webcam = RecordingHealth::Webcam();
    watched.pass(10, 3);
    const std::string sentence = watched.watch.screenSentence();
    ASSERT_NE(sentence, "");
    for (int i = 0; i < 100; ++i) watched.watch.update(watched.health);
    EXPECT_EQ(watched.watch.screenSentence(), sentence);
    EXPECT_EQ(watched.watch.webcamSentence(), "");
}

TEST(LossWatch, ACameraThatSendsNothingOrTheSameIsSaid) {
    Watched watched;
    watched.health.webcam = RecordingHealth::Webcam();
    watched.delivered = watched.changed = 0;
    watched.pass(9.5);
    EXPECT_EQ(watched.watch.webcamSentence(), "");
    watched.pass(1);
    EXPECT_EQ(watched.watch.webcamSentence(),
              "Die Kamera liefert kein Bild. Prüfe, ob ein anderes Programm sie benutzt.");
    watched.delivered = 15;
    watched.changed = 1;
    watched.pass(5);
    EXPECT_EQ(watched.watch.webcamSentence(), "");
    watched.changed = 0;
    watched.pass(4.5);
    EXPECT_EQ(watched.watch.webcamSentence(), "");
    watched.pass(0.5);
    EXPECT_EQ(watched.watch.webcamSentence(), "Das Bild der Kamera steht still. Prüfe, ob sie noch läuft.");
    watched.changed = 1;
    watched.pass(1);
    EXPECT_EQ(watched.watch.webcamSentence(), "");
    watched.delivered = watched.changed = 0;
    watched.pass(3);
    EXPECT_EQ(watched.watch.webcamSentence(), "Von der Kamera kommt kein Bild mehr. Prüfe ihr Kabel.");
}

TEST(LossWatch, ACameraLosesPicturesToo) {
    Watched watched;
    watched.health.webcam = RecordingHealth::Webcam();
    watched.pass(6);
    watched.cameraLost = 15;
    watched.pass(6);
    EXPECT_EQ(watched.watch.screenSentence(), "");
    EXPECT_TRUE(watched.watch.webcamSentence().starts_with(
        "Über 50 % der Kamerabilder gehen verloren: der Encoder kommt nicht nach. "));
}

TEST(LossWatch, SumsUpAtTheEnd) {
    Watched watched;
    watched.health.webcam = RecordingHealth::Webcam();
    watched.pass(65);
    watched.pass(10, 4);
    watched.pass(20);
    watched.pass(10, 20);
    watched.pass(20);
    watched.delivered = watched.changed = 0;
    watched.pass(8);
    EXPECT_EQ(watched.watch.summary(),
              "Ab 1:05 gingen 20 s lang Bilder verloren, zeitweise über 50 %: der Encoder kommt nicht nach.\n"
              "Ab 2:05 stand das Bild der Kamera 8 s lang still.");
}

}  // namespace
}  // namespace lumivastor::capture
