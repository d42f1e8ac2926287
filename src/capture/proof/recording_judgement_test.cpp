// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/proof/recording_judgement.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace lumivastor::capture {
namespace {

// A recording of ten minutes without a fault.
struct Judged {
    model::CaptureInfo info;
    MeasuredRecording measured;

    Judged() {
        info.sourceKind = "display";
        info.pixelWidth = 2560;
        info.pixelHeight = 1440;
        info.duration = 602.6;
        info.framesWritten = 36180;
        info.systemAudio = info.microphone = true;
        media::MovieExamination movie;
        movie.videos.push_back({2560, 1440, 36180, 0, 602.6, 1.02, 30, 0, 24, 0, {}});
        movie.sounds = {{0.02, 602.59, 0, 0, 3, false, 0, -21.0}, {0.05, 602.6, 0, 0, 0, false, 0, -19.5}};
        movie.loudness = {-18.2, 7.1, -1.0};
        measured.movie = movie;
    }

    media::VideoExamination& video() { return measured.movie->videos[0]; }
    media::SoundExamination& system() { return measured.movie->sounds[0]; }
    media::SoundExamination& microphone() { return measured.movie->sounds[1]; }
    media::VideoExamination& camera() {
        if (!measured.webcam) {
            info.webcamFile = "webcam.mov";
            info.webcamOffset = 0.2;
            measured.webcam.emplace();
            measured.webcam->videos.push_back({1280, 720, 18000, 0, 602.8, 0.04, 10, 0, 24, 0, {}});
        }
        return measured.webcam->videos[0];
    }
    model::RecordingQuality quality() const { return judge(info, measured); }
};

std::string faultsOf(const model::RecordingQuality& quality) {
    std::string names;
    for (const model::QualityCheck& check : quality.checks) {
        if (!check.ok) names += check.name + " ";
    }
    return names;
}

TEST(RecordingJudgement, SaysInOneSentenceThatAllIsWell) {
    const model::RecordingQuality quality = Judged().quality();
    EXPECT_TRUE(quality.ok) << quality.summary;
    EXPECT_EQ(quality.summary, "Geprüft: 10:03 min, 36.180 Bilder, Ton vollständig, −18,2 LUFS.");
    std::string names;
    for (const model::QualityCheck& check : quality.checks) {
        names += check.name + " ";
        EXPECT_TRUE(check.ok) << check.name;
        EXPECT_TRUE(check.detail.ends_with('.')) << check.detail;
    }
    EXPECT_EQ(names, "movie pictures lost length gaps decoding sound drift microphone loudness ");
    EXPECT_EQ(quality.picturesCounted, 36180);
    EXPECT_EQ(quality.picturesLost, 0);
    EXPECT_EQ(quality.sounds.at(0).source, "system");
    EXPECT_EQ(quality.sounds.at(1).source, "microphone");
    EXPECT_EQ(quality.integratedLoudness, -18.2);
    EXPECT_EQ(quality.longestGap, 1.02);
    EXPECT_EQ(quality.webcam, std::nullopt);
}

TEST(RecordingJudgement, EachFaultIsFoundByOneCheckAndSaid) {
    struct Case {
        std::string check;
        std::string sentence;
        std::function<void(Judged&)> spoil;
    };
    const std::vector<Case> cases = {
        {"movie", "Im Film fehlt der Ton.", [](Judged& j) { j.measured.movie->sounds.clear(); }},
        {"movie", "Im Film fehlt eine von zwei Tonspuren.", [](Judged& j) { j.measured.movie->sounds.pop_back(); }},
        {"movie", "Die Bilder haben 1280×720 Pixel statt 2560×1440.",
         [](Judged& j) {
             j.video().width = 1280;
             j.video().height = 720;
         }},
        {"movie", "source.mov konnte nicht gelesen werden.",
         [](Judged& j) {
             j.measured.movie.reset();
             j.measured.movieError = "source.mov konnte nicht gelesen werden.";
         }},
        {"pictures", "Im Film: 36.170 Bilder statt 36.180.", [](Judged& j) { j.video().pictures = 36170; }},
        {"lost", "Verloren, weil der Encoder nicht nachkam: 200 Bilder.",
         [](Judged& j) { j.info.framesDroppedBackpressure = 200; }},
        {"length", "Bilder von 0:00 bis 9:50, aufgenommen wurde bis 10:02.", [](Judged& j) { j.video().end = 590; }},
        {"length", "Bilder von 0:03 bis 10:02, aufgenommen wurde bis 10:02.", [](Judged& j) { j.video().start = 3; }},
        {"gaps", "Längste Zeit ohne neues Bild: 4,5 s bei 0:30.", [](Judged& j) { j.video().longestGap = 4.5; }},
        {"decoding", "Beschädigte Bilder ab 1:40.",
         [](Judged& j) {
             j.video().brokenPictures = 3;
             j.video().firstDamage = 100;
         }},
        {"decoding", "Beschädigte Bilder ab 0:12.",
         [](Judged& j) {
             j.video().undecodable = 1;
             j.video().firstDamage = 12.7;
         }},
        {"sound", "Mikrofon endet bei 5:00 von 10:02.", [](Judged& j) { j.microphone().end = 300; }},
        {"sound", "Systemton beginnt erst nach 7,0 s.", [](Judged& j) { j.system().start = 7; }},
        {"sound", "Systemton ist stellenweise beschädigt.", [](Judged& j) { j.system().damagedPackets = 1; }},
        {"drift", "Ton und Bild laufen um 0,25 s auseinander.", [](Judged& j) { j.system().drift = -0.25; }},
        {"drift", "Ton und Bild laufen um 0,50 s auseinander.", [](Judged& j) { j.system().longestGap = 0.5; }},
        {"microphone", "Das Mikrofon war durchgehend stumm.", [](Judged& j) { j.microphone().isSilent = true; }},
        {"microphone", "Das Mikrofon ist kaum zu hören (−55,0 LUFS).",
         [](Judged& j) { j.microphone().integratedLoudness = -55; }},
        {"microphone", "Das Mikrofon ist kaum zu hören.", [](Judged& j) { j.microphone().integratedLoudness.reset(); }},
        {"webcam", "Im Film der Kamera fehlen die Bilder.", [](Judged& j) { j.camera().pictures = 0; }},
        {"webcam", "Die Kamera endet bei 5:00 von 10:02.", [](Judged& j) { j.camera().end = 299.9; }},
        {"webcam", "Die Kamera stand 8,0 s still, ab 0:10.", [](Judged& j) { j.camera().longestGap = 8; }},
        {"webcam", "Beschädigte Kamerabilder ab 0:05.",
         [](Judged& j) {
             j.camera().brokenPictures = 1;
             j.camera().firstDamage = 5;
         }},
        {"webcam", "Der Film der Kamera fehlt.",
         [](Judged& j) {
             j.camera();
             j.measured.webcam.reset();
             j.measured.webcamError = "Der Film der Kamera fehlt.";
         }},
    };
    for (const Case& each : cases) {
        Judged judged;
        each.spoil(judged);
        const model::RecordingQuality quality = judged.quality();
        EXPECT_FALSE(quality.ok) << each.sentence;
        EXPECT_EQ(faultsOf(quality), each.check + " ") << each.sentence;
        EXPECT_EQ(quality.summary, "Die Prüfung fand Fehler: " + each.sentence);
    }
}

TEST(RecordingJudgement, WhatLiesAtALimitIsNoFault) {
    const QualityLimits limits;
    Judged judged;
    judged.info.framesDroppedBackpressure = 180;  // of 36180
    judged.video().longestGap = limits.gap;
    judged.video().end = judged.info.duration - limits.edge + 1e-9;
    judged.system().start = limits.soundStart;
    judged.microphone().drift = -limits.drift;
    judged.microphone().integratedLoudness = limits.quietMicrophone;
    const model::RecordingQuality quality = judged.quality();
    EXPECT_EQ(faultsOf(quality), "");
    EXPECT_EQ(quality.summary, "Geprüft: 10:03 min, 36.180 Bilder (180 verloren), Ton vollständig, −18,2 LUFS.");
    judged.info.framesDroppedBackpressure = 181;
    EXPECT_EQ(faultsOf(judged.quality()), "lost ");
}

TEST(RecordingJudgement, SeveralFaultsAreAllSaid) {
    Judged judged;
    judged.video().pictures = 1;
    judged.microphone().isSilent = true;
    EXPECT_EQ(judged.quality().summary,
              "Die Prüfung fand Fehler: Im Film: 1 Bild statt 36.180. Das Mikrofon war durchgehend stumm.");
}

TEST(RecordingJudgement, SilentSystemSoundIsSaidButNoFault) {
    Judged judged;
    judged.info.microphone = false;
    judged.measured.movie->sounds.pop_back();
    judged.system().isSilent = true;
    judged.measured.movie->loudness = {};
    EXPECT_EQ(judged.quality().summary, "Geprüft: 10:03 min, 36.180 Bilder, Ton vollständig, aber still.");
}

TEST(RecordingJudgement, WithoutSoundOrCountersThoseChecksAreLeftOut) {
    Judged judged;
    judged.info.systemAudio = judged.info.microphone = false;
    judged.measured.movie->sounds.clear();
    judged.measured.movie->loudness = {};
    judged.info.framesWritten = 0;
    const model::RecordingQuality quality = judged.quality();
    EXPECT_EQ(quality.summary, "Geprüft: 10:03 min, 36.180 Bilder, ohne Ton.");
    EXPECT_EQ(quality.picturesCounted, std::nullopt);
    EXPECT_EQ(quality.picturesLost, std::nullopt);
    std::string pictures;
    for (const model::QualityCheck& check : quality.checks) {
        EXPECT_TRUE(check.name != "lost" && check.name != "sound" && check.name != "drift") << check.name;
        if (check.name == "pictures") pictures = check.detail;
    }
    EXPECT_EQ(pictures, "Im Film: 36.180 Bilder; gezählt wurden sie nicht.");
}

TEST(RecordingJudgement, AWindowMayBeHidden) {
    Judged judged;
    judged.info.sourceKind = "window";
    judged.video().longestGap = 60;
    const model::RecordingQuality quality = judged.quality();
    EXPECT_TRUE(quality.ok) << quality.summary;
    EXPECT_EQ(quality.longestGap, 60);
}

TEST(RecordingJudgement, ADeviceDoesNotCountWhatIsLost) {
    Judged judged;
    judged.info.sourceKind = "device";
    judged.info.framesDroppedBackpressure = 0;
    const model::RecordingQuality quality = judged.quality();
    EXPECT_TRUE(quality.ok) << quality.summary;
    EXPECT_EQ(quality.picturesLost, std::nullopt);
}

TEST(RecordingJudgement, SoundAloneIsARecordingToo) {
    Judged judged;
    judged.info.sourceKind = "window";
    judged.info.framesWritten = 0;
    judged.measured.movie->videos.clear();
    const model::RecordingQuality quality = judged.quality();
    EXPECT_TRUE(quality.ok) << quality.summary;
    EXPECT_EQ(quality.summary, "Geprüft: 10:03 min, 0 Bilder, Ton vollständig, −18,2 LUFS.");
    judged.info.framesWritten = 10;
    EXPECT_EQ(faultsOf(judged.quality()), "movie pictures ");
}

TEST(RecordingJudgement, TheCameraIsMeasuredOnTheRecordingsTime) {
    Judged judged;
    judged.camera();
    const model::RecordingQuality quality = judged.quality();
    EXPECT_TRUE(quality.ok) << quality.summary;
    ASSERT_TRUE(quality.webcam);
    EXPECT_NEAR(quality.webcam->start, 0.2, 1e-9);
    EXPECT_NEAR(quality.webcam->end, 603, 1e-9);
}

TEST(RecordingJudgement, SaysHowWellCameraAndMicrophoneAgreeByTheirClocks) {
    const auto sentenceOf = [](const model::RecordingQuality& quality) {
        for (const model::QualityCheck& check : quality.checks) {
            if (check.name == "cameraSync") return check.detail;
        }
        return std::string();
    };
    Judged judged;
    EXPECT_EQ(sentenceOf(judged.quality()), "");
    judged.camera().typicalInterval = 1.0 / 30;
    judged.camera().intervalJitter = 0.003;
    for (media::SoundExamination& sound : judged.measured.movie->sounds) sound.drift = -0.01;
    const model::RecordingQuality quality = judged.quality();
    EXPECT_TRUE(quality.ok) << quality.summary;
    EXPECT_EQ(sentenceOf(quality),
              "Kamera und Mikrofon: nach den Uhren der Geräte auf ±30 ms gleich. Was die Kamera selbst verzögert, ist "
              "nicht messbar; der Versatz im Editor gleicht es aus.");
    EXPECT_NEAR(quality.webcam->soundTolerance.value_or(0), 0.0297, 1e-4);
    judged.info.microphone = false;
    EXPECT_EQ(sentenceOf(judged.quality()), "Kamera und Mikrofon: Abstand nicht messbar.");
}

}  // namespace
}  // namespace lumivastor::capture
