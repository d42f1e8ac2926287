// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/device_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <future>
#include <thread>

#include "capture/recovery/recovery.h"
#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "model/pointer_track.h"
#include "support/await.h"
#include "support/recording_rig.h"

namespace lumivastor::capture {
namespace {

class DeviceRecorders : public RecordingRig {
  protected:
    DeviceRecorders() {
        device_->setActiveFormat({160, 120});
        devices_.addExternalDevice(device_);
        microphone_->setHasVideo(false);
        microphone_->setHasAudio(true);
    }

    DeviceRecorder& make() {
        recorder_ = std::make_unique<DeviceRecorder>(services_, device_->description(), options_, folder_);
        listenTo(*recorder_);
        return *recorder_;
    }
    // Until the devices run, which they do in the background.
    void start() {
        make().start();
        ASSERT_TRUE(loop_.runUntil([this] { return device_->isRunning(); }));
    }

    RecordingJob::Outcome stopped() { return RecordingRig::stopped(*recorder_); }
    std::string backgroundStartError() { return RecordingRig::backgroundStartError(*recorder_); }
    std::shared_ptr<synthetic::SyntheticDevice> useCamera() {
        options_.webcam = true;
        return plugInCamera();
    }

    // Until the recorder has written it.
    void emit(double hostSeconds, int width = 160, int height = 120) {
        const std::int64_t before = recorder_->snapshot().framesWritten;
        ASSERT_TRUE(device_->emitPicture(hostSeconds, picture(width, height)));
        ASSERT_TRUE(loop_.runUntil([&] { return recorder_->snapshot().framesWritten > before; }));
    }

    std::shared_ptr<synthetic::SyntheticDevice> device_ =
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"dev", "Telefon", true, 0});
    std::shared_ptr<synthetic::SyntheticDevice> microphone_ =
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"mic", "Mikrofon", false, 1});
    DeviceRecorder::Options options_;
    std::unique_ptr<DeviceRecorder> recorder_;
};

TEST_F(DeviceRecorders, ADeviceBecomesARecordingLikeAnyOther) {
    start();
    EXPECT_EQ(recorder_->deviceName(), "Telefon");
    emit(1000.5);
    emit(1001);
    emit(1002);
    loop_.advance(10);
    EXPECT_EQ(recorder_->snapshot(), (DeviceRecorder::Stats{9.5, 3}));
    EXPECT_EQ(statsOf(stopped()), (DeviceRecorder::Stats{9.5, 3}));

    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.sourceKind, "device");
    EXPECT_EQ(info.windowTitle, "Telefon");
    EXPECT_EQ(info.displayID, 0u);
    EXPECT_EQ(info.displayWidth, 160);
    EXPECT_EQ(info.contentHeight, 120);
    EXPECT_EQ(info.pointPixelScale, 1);
    EXPECT_EQ(info.fps, 60);
    EXPECT_FALSE(info.systemAudio);
    EXPECT_FALSE(info.microphone);
    EXPECT_EQ(info.t0HostClock, 1000.5);
    EXPECT_EQ(info.t0MediaTime, 1000.5);
    EXPECT_EQ(info.duration, 9.5);
    EXPECT_EQ(info.framesWritten, 3);
    EXPECT_EQ(info.pointerEvents, 0);
    EXPECT_FALSE(info.webcamFile.has_value());
    EXPECT_FALSE(info.webcamOffset.has_value());
    const model::PointerTrack track = model::PointerTrack::load(folder_);
    EXPECT_EQ(track, model::PointerTrack());
    EXPECT_FALSE(exists("journal"));
}

TEST_F(DeviceRecorders, APauseIsLeftOutAndEndsWithWhatTheDeviceShows) {
    useCamera();
    start();
    emit(1000);
    loop_.advance(2);
    recorder_->pause(RecordingJob::PauseCause::other);
    device_->emitPicture(1002.5, picture(160, 120, 220));
    loop_.advance(3);
    EXPECT_EQ(recorder_->snapshot(), (DeviceRecorder::Stats{2, 1}));
    // The device shows nothing new, so nothing else tells that the pause is over.
    recorder_->resume();
    ASSERT_TRUE(loop_.runUntil([&] { return recorder_->snapshot().framesWritten == 2; }));
    // This one was taken in the pause, and comes late.
    device_->emitPicture(1004.99, picture(160, 120, 120));
    ASSERT_TRUE(loop_.runUntil([&] { return recorder_->snapshot().framesWritten == 3; }));
    loop_.advance(1);
    emit(1006);
    loop_.advance(1);
    recorder_->pause(RecordingJob::PauseCause::other);
    loop_.advance(100);
    EXPECT_NEAR(statsOf(stopped()).duration, 4, 1e-6);
    const media::Asset movie(folder_ / "source.mov");
    EXPECT_NEAR(movie.duration().seconds(), 4, 0.02);
    EXPECT_EQ(movie.tracks().at(0).sampleCount, 4);
    EXPECT_EQ(model::CaptureInfo::load(folder_).t0HostClock, 1000);
}

TEST_F(DeviceRecorders, TheMovieLastsUntilTheStopAlthoughNothingNewCame) {
    start();
    emit(1000);
    loop_.advance(7);
    statsOf(stopped());
    const media::Asset movie(folder_ / "source.mov");
    EXPECT_NEAR(movie.duration().seconds(), 7, 0.02);
    EXPECT_EQ(movie.tracks().at(0).sampleCount, 1);
}

TEST_F(DeviceRecorders, SaysWhatItDoesInTheLog) {
    start();
    emit(1000);
    emit(1001);
    loop_.advance(2);
    stopped();
    EXPECT_EQ(log(), (std::vector<std::string>{
                         "[Device] gestartet: Telefon, warte auf erstes Bild, Geräteton=false Mikro=false",
                         "[Device] „Telefon“ liefert keinen eigenen Ton. Aufgenommen wird nur das Bild.",
                         "[Device] Writer angelegt: 160×120", "[Device] Zeitbasis: Host-Uhr 1000.000 s",
                         "[Device] fertig: 2.0 s, 2 Bilder"}));
}

TEST_F(DeviceRecorders, OddPicturesLoseARowAndAColumn) {
    start();
    emit(1000, 117, 255);
    stopped();
    const media::AssetTrack track = media::Asset(folder_ / "source.mov").tracks().at(0);
    EXPECT_EQ(track.width, 116);
    EXPECT_EQ(track.height, 254);
    EXPECT_EQ(model::CaptureInfo::load(folder_).pixelWidth, 116);
}

TEST_F(DeviceRecorders, ADeviceThatIsTurnedIsSeenWholeInTheMoviesSize) {
    start();
    emit(1000, 120, 160);
    emit(1001, 160, 120);
    stopped();
    const auto movie = std::make_shared<const media::Asset>(folder_ / "source.mov");
    const media::AssetTrack track = movie->tracks().at(0);
    EXPECT_EQ(track.width, 120);
    EXPECT_EQ(track.height, 160);
    ASSERT_EQ(track.sampleCount, 2);
    media::AssetReader reader(movie);
    media::VideoTrackOutput& output = reader.addVideoOutput(track.id, media::PictureFormat::bgraPremultiplied);
    ASSERT_TRUE(reader.startReading());
    ASSERT_TRUE(output.copyNextSample());
    const auto turned = output.copyNextSample();
    ASSERT_TRUE(turned);
    // 120 x 90 of grey with 35 rows of black above and below.
    for (int y = 0; y < 160; ++y) {
        if (std::abs(y - 35) < 4 || std::abs(y - 125) < 4) continue;
        for (const int x : {2, 60, 117}) {
            EXPECT_NEAR(turned->bgra().pixel(x, y)[1], y > 35 && y < 125 ? 128 : 0, 6) << x << " " << y;
        }
    }
}

TEST_F(DeviceRecorders, WithoutAnyPictureThereIsNoRecording) {
    const auto camera = useCamera();
    device_->setHasAudio(true);
    start();
    ASSERT_TRUE(loop_.runUntil([&camera] { return camera->isRunning(); }));
    camera->emitPicture(998.75);
    device_->emitSound({1000, 48000, 2, std::vector<float>(960)});
    EXPECT_EQ(errorOf(stopped()), "Vom Gerät kam kein einziges Bild. Ist es entsperrt und hat es diesem Mac vertraut?");
    EXPECT_FALSE(exists("capture.json"));
    EXPECT_FALSE(exists("pointer.json"));
    EXPECT_FALSE(std::filesystem::exists(folder_)) << "neither its folder nor the camera's movie";
    EXPECT_FALSE(camera->isRunning());
}

TEST_F(DeviceRecorders, WhatSomebodyElsePutThereStays) {
    temporary_.write("recording/notizen.txt", "x");
    start();
    EXPECT_NE(errorOf(stopped()), "no error");
    EXPECT_TRUE(exists("notizen.txt"));
}

TEST_F(DeviceRecorders, ADeviceWithoutSoundIsSaidAtTheStart) {
    start();
    ASSERT_TRUE(loop_.runUntil([this] { return !notices_.empty(); }));
    EXPECT_EQ(notices_,
              (std::vector<std::string>{"„Telefon“ liefert keinen eigenen Ton. Aufgenommen wird nur das Bild."}));
    EXPECT_TRUE(logged("[Device] „Telefon“ liefert keinen eigenen Ton. Aufgenommen wird nur das Bild."));
    stopped();
    notices_.clear();
    devices_.setDefaultMicrophone(microphone_);
    options_.microphone = true;
    start();
    ASSERT_TRUE(loop_.runUntil([this] { return !notices_.empty(); }));
    EXPECT_EQ(notices_, (std::vector<std::string>{
                            "„Telefon“ liefert keinen eigenen Ton. Aufgenommen werden das Bild und das Mikrofon."}));
    stopped();
    notices_.clear();
    device_->setHasAudio(true);
    start();
    emit(1000);
    loop_.runPending();
    EXPECT_TRUE(notices_.empty());
    stopped();
}

TEST_F(DeviceRecorders, SoundThatIsNotWantedIsNotRecorded) {
    device_->setHasAudio(true);
    options_.sound = false;
    start();
    emit(1000);
    device_->emitSound({1000, 48000, 2, std::vector<float>(9600, 0.1F)});
    loop_.advance(1);
    stopped();
    EXPECT_TRUE(media::Asset(folder_ / "source.mov").tracks(media::TrackKind::audio).empty());
    EXPECT_FALSE(model::CaptureInfo::load(folder_).systemAudio);
    EXPECT_TRUE(notices_.empty()) << "nobody misses it";
}

TEST_F(DeviceRecorders, DeviceSoundAndMicrophoneAreTracksOfTheirOwn) {
    device_->setHasAudio(true);
    devices_.setDefaultMicrophone(microphone_);
    options_.microphone = true;
    start();
    emit(1000);
    ASSERT_TRUE(loop_.runUntil([this] { return microphone_->isRunning(); }));
    for (int i = 0; i < 50; ++i) {
        device_->emitSound({1000 + i / 100.0, 48000, 2, std::vector<float>(960, 0.1F)});
        microphone_->emitSound({1000 + i / 100.0, 48000, 2, std::vector<float>(960, 0.1F)});
    }
    loop_.advance(1);
    stopped();
    const auto sounds = media::Asset(folder_ / "source.mov").tracks(media::TrackKind::audio);
    ASSERT_EQ(sounds.size(), 2u);
    EXPECT_EQ(sounds[0].channels, 2);
    EXPECT_EQ(sounds[1].channels, 1);
    EXPECT_TRUE(model::CaptureInfo::load(folder_).systemAudio);
    EXPECT_TRUE(model::CaptureInfo::load(folder_).microphone);
    EXPECT_TRUE(logged("[Device] gestartet: Telefon, warte auf erstes Bild, Geräteton=true Mikro=true"));
}

TEST_F(DeviceRecorders, WithoutAMicrophoneTheRestIsRecorded) {
    options_.microphone = true;
    start();
    emit(1000);
    emit(1001);
    loop_.advance(2);
    EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks(media::TrackKind::video).at(0).sampleCount, 2);
}

TEST_F(DeviceRecorders, WhatABackgroundStartThrowsIsAnErrorForTheOwner) {
    services_.chooseEncoder = [](const media::EncodingJob&) -> media::EncoderChoice { throw std::bad_alloc(); };
    make();
    EXPECT_EQ(backgroundStartError(), "Der Arbeitsspeicher reicht nicht.");
}

TEST_F(DeviceRecorders, StoppingWhatDidNotStartIsAnError) {
    make();
    EXPECT_EQ(errorOf(stopped()), "Es lief keine Aufnahme.");
    device_->failOpens("Das Gerät ist belegt.");
    make();
    EXPECT_EQ(backgroundStartError(), "Das Gerät ist belegt.");
    EXPECT_EQ(errorOf(stopped()), "Es lief keine Aufnahme.");
    EXPECT_THROW(make().start(), RecorderError);
    EXPECT_EQ(errorOf(stopped()), "Es lief keine Aufnahme.");
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(DeviceRecorders, WhatAPictureThrowsIsAnErrorForTheOwner) {
    const auto choose = services_.chooseEncoder;
    services_.chooseEncoder = [choose](const media::EncodingJob& job) {
        if (job.width == 200) throw std::runtime_error("no room");
        return choose(job);
    };
    start();
    device_->emitPicture(1000, picture(200, 120));
    device_->emitPicture(1001, picture(200, 120));
    ASSERT_TRUE(loop_.runUntil([this] { return !streamErrors_.empty(); }));
    EXPECT_EQ(streamErrors_, std::vector<std::string>{"Unerwarteter Fehler: no room"});
    EXPECT_NE(errorOf(stopped()), "no error");
}

TEST_F(DeviceRecorders, AMicrophoneThatFailsAndComesBackIsSaidEachTime) {
    devices_.setDefaultMicrophone(microphone_);
    options_.microphone = true;
    start();
    ASSERT_TRUE(loop_.runUntil([this] { return microphone_->isRunning(); }));
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(microphone_->interrupt("abgezogen"));
        ASSERT_TRUE(microphone_->comeBack());
    }
    loop_.runPending();
    const std::string silent = "„Telefon“ liefert keinen eigenen Ton. Aufgenommen werden das Bild und das Mikrofon.";
    const std::string gone = "Das Mikrofon liefert keinen Ton mehr: abgezogen";
    const std::string back = "Das Mikrofon liefert wieder Ton.";
    EXPECT_EQ(notices_, (std::vector<std::string>{silent, gone, back, gone, back}));
    EXPECT_TRUE(streamErrors_.empty());
}

TEST_F(DeviceRecorders, AMicrophoneThatCannotBeOpenedIsNoFailure) {
    microphone_->failOpens("belegt");
    devices_.setDefaultMicrophone(microphone_);
    options_.microphone = true;
    start();
    emit(1000);
    EXPECT_EQ(statsOf(stopped()).framesWritten, 1);
}

TEST_F(DeviceRecorders, TheSessionBeginsWithTheFirstSampleOnceThereIsAWriter) {
    // The first picture makes the writer and, in the same moment, begins the session; sound from before is ignored.
    devices_.setDefaultMicrophone(microphone_);
    options_.microphone = true;
    start();
    ASSERT_TRUE(loop_.runUntil([this] { return microphone_->isRunning(); }));
    microphone_->emitSound({999, 48000, 1, std::vector<float>(480)});
    emit(1000);
    microphone_->emitSound({1000.5, 48000, 1, std::vector<float>(480)});
    stopped();
    EXPECT_EQ(model::CaptureInfo::load(folder_).t0HostClock, 1000);
}

TEST_F(DeviceRecorders, TheWebcamRunsBesideIt) {
    const auto camera = useCamera();
    start();
    ASSERT_TRUE(loop_.runUntil([&camera] { return camera->isRunning(); }));
    camera->emitPicture(998.75);
    ASSERT_TRUE(loop_.runUntil([this] { return recorder_->webcamPreviewLayer()->latest() != nullptr; }));
    emit(1000);
    stopped();
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.webcamFile, "webcam.mov");
    EXPECT_EQ(info.webcamOffset, -1.25);
}

TEST_F(DeviceRecorders, WithoutACameraTheRestIsRecorded) {
    options_.webcam = true;
    start();
    EXPECT_TRUE(logged("[Webcam] Start fehlgeschlagen: Es wurde keine Kamera gefunden."));
    emit(1000);
    EXPECT_EQ(statsOf(stopped()).framesWritten, 1);
}

TEST_F(DeviceRecorders, WhatCannotBeStartedIsSaid) {
    const auto startError = [this] {
        try {
            make().start();
        } catch (const RecorderError& error) {
            return error.message();
        }
        return std::string("no error");
    };
    device_->failOpens("Das Gerät ist belegt.");
    EXPECT_EQ(startError(), "Das Gerät ist belegt.");
    device_->failOpens(std::nullopt);
    device_->setHasVideo(false);
    EXPECT_EQ(startError(), "Das Gerätebild kann nicht abgegriffen werden.");
}

TEST_F(DeviceRecorders, AFailedStartLeavesNothing) {
    useCamera();
    options_.microphone = true;
    services_.chooseEncoder = [](const media::EncodingJob&) -> media::EncoderChoice {
        throw RecorderError("Kein Encoder.");
    };
    EXPECT_THROW(make().start(), RecorderError);
    EXPECT_FALSE(std::filesystem::exists(folder_));
    make();
    EXPECT_EQ(backgroundStartError(), "Kein Encoder.");
    EXPECT_FALSE(std::filesystem::exists(folder_));
    device_->setHasVideo(false);
    make();
    EXPECT_EQ(backgroundStartError(), "Das Gerätebild kann nicht abgegriffen werden.");
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(DeviceRecorders, StartsInTheBackgroundWithoutTheMainThread) {
    const auto camera = useCamera();
    make();
    EXPECT_EQ(backgroundStartError(), "no error");
    ASSERT_TRUE(loop_.runUntil([&] { return device_->isRunning() && camera->isRunning(); }));
    emit(1000);
    EXPECT_EQ(statsOf(stopped()).framesWritten, 1);
    for (const auto& opened : {device_->openedOn(), camera->openedOn(), camera->stoppedOn(), device_->stoppedOn()}) {
        ASSERT_EQ(opened.size(), 1u);
        EXPECT_NE(opened[0], std::this_thread::get_id());
    }
}

TEST_F(DeviceRecorders, WhatIsSlowToOpenIsTold) {
    const auto camera = useCamera();
    std::array<std::promise<void>, 3> release;
    device_->holdOpens(release[0].get_future().share());
    camera->holdOpens(release[1].get_future().share());
    services_.chooseEncoder = [choose = services_.chooseEncoder,
                               until = release[2].get_future().share()](const media::EncodingJob& job) {
        until.wait();
        return choose(job);
    };
    make();
    std::vector<std::string> told;
    recorder_->onSlowStep([&told](const std::string& what) { told.push_back(what); });
    bool hasStarted = false;
    recorder_->start([&](const std::optional<RecorderError>& error) { hasStarted = !error; });
    const std::array<std::string, 3> expected{"Öffne „Telefon“ …", "Öffne die Kamera …",
                                              "Suche einen passenden Encoder …"};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        // The clock goes on until the step is reported; how far depends on when the step begins.
        ASSERT_TRUE(await(30, [&] {
            loop_.advance(StartWatch::kLook);
            return told.size() > i;
        }));
        EXPECT_EQ(told[i], expected[i]);
        EXPECT_FALSE(hasStarted);
        release[i].set_value();
    }
    ASSERT_TRUE(loop_.runUntil([&] { return hasStarted; }));
    loop_.advance(10);
    EXPECT_EQ(told.size(), expected.size());
    stopped();
}

TEST_F(DeviceRecorders, AMovieThatCannotBeMadeEndsTheRecordingAtOnceWithItsReason) {
    const auto camera = useCamera();
    start();
    ASSERT_TRUE(loop_.runUntil([&camera] { return camera->isRunning(); }));
    std::filesystem::create_directories(folder_ / "source.mov");
    device_->emitPicture(1000, picture(160, 120));
    device_->emitPicture(1001, picture(160, 120));
    ASSERT_TRUE(loop_.runUntil([this] { return !streamErrors_.empty(); }));
    EXPECT_TRUE(streamErrors_[0].starts_with("source.mov konnte nicht angelegt werden: ")) << streamErrors_[0];
    EXPECT_EQ(errorOf(stopped()), streamErrors_[0]);
    EXPECT_EQ(streamErrors_.size(), 1u);
    EXPECT_FALSE(exists("webcam.mov"));
    EXPECT_FALSE(exists("journal"));
    const auto lines = log();
    EXPECT_EQ(std::count_if(
                  lines.begin(), lines.end(),
                  [](const std::string& line) { return line.starts_with("[Device] Writer-Anlage fehlgeschlagen: "); }),
              1)
        << "tried once";
}

TEST_F(DeviceRecorders, AnEncoderThatDoesNotOpenLeavesNeitherFolderNorMovies) {
    useCamera();
    services_.chooseEncoder = [](const media::EncodingJob&) {
        return media::EncoderChoice{{media::VideoCodec::hevc, "no_such_encoder", ""}, "zum Test"};
    };
    start();
    device_->emitPicture(1000, picture(160, 120));
    ASSERT_TRUE(loop_.runUntil([this] { return !streamErrors_.empty(); }));
    EXPECT_EQ(errorOf(stopped()), streamErrors_[0]);
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(DeviceRecorders, WhatCouldNotBeCompletedSaysHowItCan) {
    start();
    emit(1000);
    loop_.advance(1);
    // The documents find no room.
    std::filesystem::create_directory(folder_ / "capture.json");
    freeSpace_ = FreeSpace{0, 100'000'000};
    const std::string error = errorOf(stopped());
    EXPECT_NE(error.find("Sobald auf dem Datenträger wieder Platz ist"), std::string::npos) << error;
    EXPECT_TRUE(error.ends_with("lumivastor recover '" + folder_.string() + "'")) << error;
    // And that is so.
    std::filesystem::remove(folder_ / "capture.json");
    recorder_.reset();
    EXPECT_TRUE(recoverRecording(folder_).recovered);
    EXPECT_EQ(model::CaptureInfo::load(folder_).framesWritten, 1);
}

TEST_F(DeviceRecorders, TheAnnouncedFormatsEncoderIsChosenBeforehand) {
    start();
    ASSERT_EQ(encodingJobs().size(), 1u);
    EXPECT_EQ(encodingJobs()[0].width, 160);
    EXPECT_EQ(encodingJobs()[0].frameRate, 60);
    EXPECT_EQ(encodingJobs()[0].averageBitRate, 8'000'000);
    emit(1000);
    EXPECT_EQ(encodingJobs().size(), 1u);
    stopped();
}

TEST_F(DeviceRecorders, ADeviceThatIsUnpluggedEndsTheRecordingAndItIsKept) {
    start();
    emit(1000);
    device_->interrupt("abgezogen");
    ASSERT_TRUE(loop_.runUntil([this] { return !streamErrors_.empty(); }));
    EXPECT_EQ(streamErrors_[0], "Das Gerät liefert kein Bild mehr: abgezogen");
    EXPECT_EQ(statsOf(stopped()).framesWritten, 1);
}

TEST_F(DeviceRecorders, ADiskThatFillsUpEndsTheRecordingInTime) {
    start();
    emit(1000);
    loop_.advance(2);
    EXPECT_TRUE(streamErrors_.empty());
    freeSpace_ = FreeSpace{1'000'000, 100'000'000};
    loop_.advance(1);
    loop_.runPending();
    EXPECT_EQ(streamErrors_, (std::vector<std::string>{diskNearlyFull().message()}));
    EXPECT_EQ(statsOf(stopped()).framesWritten, 1);
}

TEST_F(DeviceRecorders, OneThatIsNotStoppedEndsItsDevice) {
    start();
    emit(1000);
    recorder_.reset();
    EXPECT_FALSE(device_->isRunning());
    EXPECT_TRUE(exists("journal"));
}

TEST_F(DeviceRecorders, OnlyExternalDevicesAreListed) {
    EXPECT_EQ(DeviceRecorder::availableDevices(devices_).size(), 1u);
    devices_.addExternalDevice(
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0}));
    const auto listed = DeviceRecorder::availableDevices(devices_);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].id, "dev");
}

TEST(DeviceDecisions, SizesAreRoundedDownToEven) {
    EXPECT_EQ(deviceSize(1179, 2556), (PixelSize{1178, 2556}));
    EXPECT_EQ(deviceSize(640, 481), (PixelSize{640, 480}));
}

TEST(DeviceDecisions, TheMovieEndsNowButNotBeforeItsLastSample) {
    EXPECT_EQ(deviceEndTime(hostTime(10), hostTime(8)), hostTime(10));
    EXPECT_EQ(deviceEndTime(hostTime(10), hostTime(10.5)), hostTime(10.5));
}

}  // namespace
}  // namespace lumivastor::capture
