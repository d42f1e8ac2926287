// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recovery/recovery.h"

#include <gtest/gtest.h>

#include "capture/journal/journal.h"
#include "capture/journal/journal_records.h"
#include "capture/recording/device_recorder.h"
#include "capture/recording/recorder.h"
#include "capture/source_listing.h"
#include "media/reading/asset.h"
#include "media/writing/asset_writer.h"
#include "model/capture_info.h"
#include "model/marks.h"
#include "model/pointer_track.h"
#include "support/recorder_rig.h"

namespace lumivastor::capture {
namespace {

// What a process leaves that was ended in the middle, as far as one test can: the recorder goes away without a stop,
// which leaves the file in fragments and the journal.
class Recoveries : public RecorderRig {
  protected:
    Recoveries() { options_.source = DisplaySource{mainDisplay()}; }

    // Until so many pictures of a movie that is being written are on the disk: those of its first fragment.
    bool waitForPictures(const char* name, std::int64_t count) {
        return loop_.runUntil([&] {
            try {
                return media::Asset(folder_ / name).tracks(media::TrackKind::video).at(0).sampleCount >= count;
            } catch (const std::exception&) {
                return false;  // nothing whole yet
            }
        });
    }

    // Six pictures in three seconds, with a press in the first and a move at the end.
    void recordAndEnd() {
        Recorder recorder(services_, options_, folder_);
        recorder.start();
        desktop_.emitPointer({platform::PointerEventType::leftMouseDown, loop_.now() + 0.25, {20, 30}, 0, 0});
        record(3, 320, 240);
        desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now(), {40, 30}, 0, 0});
        EXPECT_TRUE(waitForPictures("source.mov", 3));
    }

    std::string errorOfRecovery() {
        try {
            recoverRecording(folder_);
        } catch (const RecorderError& error) {
            return error.message();
        }
        return "no error";
    }

    bool exists(const char* name) const { return std::filesystem::exists(folder_ / name); }

    Recorder::Options options_;
};

TEST_F(Recoveries, GiveTheDocumentsThatAStopWouldHaveWritten) {
    desktop_.setCursor(cursor(1, 24, 24));
    recordAndEnd();
    EXPECT_TRUE(isUnfinishedRecording(folder_));
    const Recovery recovery = recoverRecording(folder_);
    EXPECT_TRUE(recovery.recovered);
    EXPECT_FALSE(isUnfinishedRecording(folder_));
    EXPECT_FALSE(exists("journal"));

    const media::Asset movie(folder_ / "source.mov");
    EXPECT_FALSE(movie.isFragmented());
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.framesWritten, movie.tracks().at(0).sampleCount);
    EXPECT_GE(info.framesWritten, 3) << "at most the last fragment is missing";
    EXPECT_NEAR(info.duration, static_cast<double>(info.framesWritten - 1) / 2, 0.001);
    EXPECT_EQ(info.t0HostClock, 1000);
    EXPECT_EQ(info.sourceKind, "display");
    EXPECT_EQ(info.displayID, 7u);
    EXPECT_EQ(info.displayWidth, 320);
    EXPECT_EQ(info.pixelWidth, 320);
    EXPECT_EQ(info.pointerEvents, 3);
    EXPECT_FALSE(info.webcamFile.has_value());
    EXPECT_EQ(recovery.stats.framesWritten, info.framesWritten);
    EXPECT_EQ(recovery.stats.duration, info.duration);
    EXPECT_EQ(recovery.stats.pointerEvents, 3);

    const model::PointerTrack track = model::PointerTrack::load(folder_);
    ASSERT_EQ(track.events.size(), 3u);
    EXPECT_EQ(track.events[1].kind, model::PointerKind::down);
    EXPECT_EQ(track.events[1].px, 20);
    EXPECT_EQ(track.events[1].t, 0.25);
    EXPECT_EQ(track.cursorImages.at(0).id, "c0");
    EXPECT_TRUE(exists("cursors/c0.png"));
    EXPECT_FALSE(track.windowFrames.has_value());
}

TEST_F(Recoveries, KeepWhatIsKnownOfThePointer) {
    desktop_.setPointerKnowledge(platform::PointerKnowledge::positions);
    recordAndEnd();
    recoverRecording(folder_);
    EXPECT_EQ(model::CaptureInfo::load(folder_).pointerKnown, model::KnownPointer::positions);
}

TEST_F(Recoveries, PositionsFollowADisplayThatMoved) {
    {
        Recorder recorder(services_, options_, folder_);
        recorder.start();
        record(1, 320, 240);
        desktop_.emitDisplayOrigin(loop_.now(), {800, 50});
        record(2, 320, 240);
        desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now(), {840, 80}, 0, 0});
        EXPECT_TRUE(waitForPictures("source.mov", 3));
    }
    recoverRecording(folder_);
    EXPECT_EQ(model::CaptureInfo::load(folder_).displayX, 0) << "where it was at the start";
    const model::PointerTrack track = model::PointerTrack::load(folder_);
    ASSERT_EQ(track.events.size(), 2u);
    EXPECT_EQ(track.events[1].px, 40);
    EXPECT_EQ(track.events[1].py, 30);
}

TEST_F(Recoveries, SoundAloneComesBack) {
    options_.systemAudio = true;
    {
        Recorder recorder(services_, options_, folder_);
        recorder.start();
        for (int i = 0; i < 500; ++i) {
            desktop_.emitSystemAudio({1000 + i / 100.0, 48000, 2, std::vector<float>(960, 0.1F)});
        }
        EXPECT_TRUE(loop_.runUntil([&] {
            try {
                return media::Asset(folder_ / "source.mov").duration().seconds() >= 2;
            } catch (const std::exception&) {
                return false;  // nothing whole yet
            }
        }));
    }
    const Recovery recovery = recoverRecording(folder_);
    EXPECT_EQ(recovery.stats.framesWritten, 0);
    EXPECT_GE(recovery.stats.duration, 1.9);
    EXPECT_EQ(model::CaptureInfo::load(folder_).framesWritten, 0);
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks(media::TrackKind::audio).size(), 1u);
    EXPECT_FALSE(exists("journal"));
}

TEST_F(Recoveries, AWindowsFramesComeBack) {
    options_.source = WindowSource{window()};
    desktop_.setWindowFrame(77, window().frame);
    recordAndEnd();
    recoverRecording(folder_);
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.sourceKind, "window");
    EXPECT_EQ(info.displayX, 1100);
    EXPECT_EQ(info.windowTitle, "Terminal – Sitzung 1");
    const model::PointerTrack track = model::PointerTrack::load(folder_);
    ASSERT_TRUE(track.windowFrames.has_value());
    EXPECT_EQ(track.windowFrames->size(), 1u);
    EXPECT_EQ(track.events.at(1).px, (20 - 1100) * 2);
}

TEST_F(Recoveries, TheWebcamComesBack) {
    options_.webcam = true;
    auto camera = std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    devices_.setDefaultCamera(camera);
    {
        Recorder recorder(services_, options_, folder_);
        recorder.start();
        ASSERT_TRUE(loop_.runUntil([&camera] { return camera->isRunning(); }));
        const auto preview = recorder.webcamPreviewLayer();
        for (int i = 0; i < 8; ++i) {
            const auto image = picture(640, 480);
            camera->emitPicture(1000.5 + i, image);
            ASSERT_TRUE(loop_.runUntil([&] { return preview->latest() == image; }));
        }
        record(4, 320, 240);
        ASSERT_TRUE(waitForPictures("source.mov", 3));
        ASSERT_TRUE(waitForPictures("webcam.mov", 2));
    }
    recoverRecording(folder_);
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.webcamFile, "webcam.mov");
    EXPECT_EQ(info.webcamOffset, 0.5);
    EXPECT_FALSE(media::Asset(folder_ / "webcam.mov").isFragmented());
}

TEST_F(Recoveries, APauseIsLeftOutAsAStopWouldHaveLeftItOut) {
    for (const bool isWithin : {false, true}) {
        std::filesystem::remove_all(folder_);
        double began = 0;
        {
            Recorder recorder(services_, options_, folder_);
            recorder.start();
            began = loop_.now();
            record(1, 320, 240);
            recorder.pause(RecordingJob::PauseCause::other);
            loop_.advance(30);
            desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now(), {90, 30}, 0, 0});
            loop_.advance(1);
            recorder.resume();
            EXPECT_EQ(recorder.mark(), 1);
            record(4, 320, 240);
            desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now(), {40, 30}, 0, 0});
            loop_.advance(0.5);
            if (isWithin) recorder.pause(RecordingJob::PauseCause::other);
            loop_.advance(30);
            desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now(), {50, 30}, 0, 0});
            EXPECT_TRUE(waitForPictures("source.mov", 6));
        }
        const Recovery recovery = recoverRecording(folder_);
        const model::CaptureInfo info = model::CaptureInfo::load(folder_);
        EXPECT_EQ(info.t0HostClock, began);
        EXPECT_NEAR(info.duration, static_cast<double>(info.framesWritten - 1) / 2, 0.001) << "no time of the pause";
        EXPECT_GE(recovery.stats.framesWritten, 6);
        const model::PointerTrack track = model::PointerTrack::load(folder_);
        ASSERT_EQ(track.events.size(), isWithin ? 4U : 5U);
        EXPECT_EQ(track.events[1].t, 1);
        EXPECT_EQ(track.events[2].t, 1);
        EXPECT_EQ(track.events[2].px, 90);
        EXPECT_EQ(track.events[3].t, 5);
        EXPECT_EQ(model::Marks::timesIn(folder_), std::vector<double>{1});
    }
}

TEST_F(Recoveries, ADevicesRecordingComesBack) {
    auto device = std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"dev", "Telefon", true, 0});
    device->setActiveFormat({160, 120});
    devices_.addExternalDevice(device);
    {
        DeviceRecorder recorder(services_, device->description(), {}, folder_);
        recorder.start();
        ASSERT_TRUE(loop_.runUntil([&device] { return device->isRunning(); }));
        for (int i = 0; i < media::VideoWriterInput::kMaximumLivePictures; ++i) {
            device->emitPicture(1000.25 + i, picture(160, 120, 20 + i));
            ASSERT_TRUE(loop_.runUntil([&] { return recorder.snapshot().framesWritten > i; }));
        }
        ASSERT_TRUE(waitForPictures("source.mov", 2));
    }
    const Recovery recovery = recoverRecording(folder_);
    EXPECT_GE(recovery.stats.framesWritten, 2);
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.sourceKind, "device");
    EXPECT_EQ(info.windowTitle, "Telefon");
    EXPECT_EQ(info.t0HostClock, 1000.25);
    EXPECT_EQ(info.pointerEvents, 0);
    EXPECT_EQ(model::PointerTrack::load(folder_), model::PointerTrack());
}

TEST_F(Recoveries, ACompleteFolderIsLeftAlone) {
    Recorder recorder(services_, options_, folder_);
    recorder.start();
    record(3, 320, 240);
    bool completed = false;
    recorder.stop([&completed](const Recorder::Outcome&) { completed = true; });
    ASSERT_TRUE(loop_.runUntil([&completed] { return completed; }));
    const auto written = std::filesystem::last_write_time(folder_ / "capture.json");
    EXPECT_FALSE(isUnfinishedRecording(folder_));
    const Recovery recovery = recoverRecording(folder_);
    EXPECT_FALSE(recovery.recovered);
    EXPECT_EQ(recovery.stats, (Recorder::Stats{2.5, 6, 0, 0, 1}));
    EXPECT_EQ(std::filesystem::last_write_time(folder_ / "capture.json"), written);
}

TEST_F(Recoveries, ASecondOneFindsTheFolderComplete) {
    recordAndEnd();
    const Recovery first = recoverRecording(folder_);
    const Recovery second = recoverRecording(folder_);
    EXPECT_FALSE(second.recovered);
    EXPECT_EQ(second.stats, first.stats);
}

TEST_F(Recoveries, MayThemselvesBeInterruptedAtAnyPoint) {
    recordAndEnd();
    const std::string journal = temporary_.read("recording/journal");
    const Recovery whole = recoverRecording(folder_);
    const std::string pointer = temporary_.read("recording/pointer.json");
    const std::string capture = temporary_.read("recording/capture.json");
    // Behind the movie's repair; within and behind the pointer document; within the capture document.
    for (const auto& [pointerText, captureText] : {std::pair<std::string, std::string>("", ""),
                                                   {pointer.substr(0, 100), ""},
                                                   {pointer, ""},
                                                   {pointer, capture.substr(0, 50)},
                                                   {pointer.substr(0, 100), capture}}) {
        std::filesystem::remove(folder_ / "pointer.json");
        std::filesystem::remove(folder_ / "capture.json");
        temporary_.write("recording/journal", journal);
        if (!pointerText.empty()) temporary_.write("recording/pointer.json", pointerText);
        if (!captureText.empty()) temporary_.write("recording/capture.json", captureText);
        const Recovery again = recoverRecording(folder_);
        EXPECT_TRUE(again.recovered);
        EXPECT_EQ(again.stats, whole.stats);
        EXPECT_EQ(temporary_.read("recording/pointer.json"), pointer);
        EXPECT_FALSE(exists("journal"));
    }
    // Only the journal's removal was missing.
    temporary_.write("recording/journal", journal);
    EXPECT_FALSE(recoverRecording(folder_).recovered);
    EXPECT_FALSE(exists("journal"));
}

TEST_F(Recoveries, AJournalWhoseEndIsTornIsEnough) {
    recordAndEnd();
    const std::string journal = temporary_.read("recording/journal");
    temporary_.write("recording/journal", journal.substr(0, journal.size() - 5));
    const Recovery recovery = recoverRecording(folder_);
    EXPECT_TRUE(recovery.recovered);
    EXPECT_EQ(recovery.stats.pointerEvents, 1) << "without the torn move, the press is in the last second";
    EXPECT_TRUE(logged("[Capture] Journal: 1 beschädigte Zeilen ausgelassen"));
}

TEST_F(Recoveries, ARecordingThatStillRunsIsLeftAlone) {
    Recorder recorder(services_, options_, folder_);
    recorder.start();
    record(3, 320, 240);
    EXPECT_EQ(errorOfRecovery(), "Diese Aufnahme läuft noch oder wird gerade vervollständigt.");
    EXPECT_TRUE(exists("journal"));
}

TEST_F(Recoveries, WithoutAJournalThereIsNothingToComplete) {
    EXPECT_EQ(errorOfRecovery(),
              "In diesem Ordner liegt keine abgebrochene Aufnahme, die sich vervollständigen lässt.");
    std::filesystem::create_directories(folder_);
    temporary_.write("recording/source.mov", "x");
    EXPECT_EQ(errorOfRecovery(),
              "In diesem Ordner liegt keine abgebrochene Aufnahme, die sich vervollständigen lässt.");
}

TEST_F(Recoveries, AFilmThatHoldsNothingIsAnErrorAndTheJournalStays) {
    recordAndEnd();
    for (const char* content : {"", "Unsinn"}) {
        temporary_.write("recording/source.mov", content);
        EXPECT_TRUE(errorOfRecovery().starts_with("Von dieser Aufnahme lässt sich kein Film retten: "));
        EXPECT_TRUE(exists("journal"));
        EXPECT_FALSE(exists("capture.json"));
    }
    std::filesystem::remove(folder_ / "source.mov");
    EXPECT_EQ(errorOfRecovery(), "In diesem Ordner liegt keine source.mov.");
}

TEST_F(Recoveries, AJournalThatIsNoneIsAnErrorAndTheFilmIsUntouched) {
    recordAndEnd();
    const std::string movie = temporary_.read("recording/source.mov");
    temporary_.write("recording/journal", "Unsinn");
    EXPECT_TRUE(errorOfRecovery().starts_with("Das Journal der Aufnahme kann nicht gelesen werden: "));
    EXPECT_EQ(temporary_.read("recording/source.mov"), movie);
}

TEST_F(Recoveries, NothingOutsideTheFolderIsTouched) {
    recordAndEnd();
    temporary_.write("fremd/pointer.json", "fremd");
    temporary_.write("fremd/capture.json", "fremd");
    std::filesystem::create_symlink(temporary_ / "fremd/pointer.json", folder_ / "pointer.json");
    std::filesystem::create_symlink(temporary_ / "fremd/capture.json", folder_ / "capture.json");
    EXPECT_TRUE(recoverRecording(folder_).recovered);
    EXPECT_EQ(temporary_.read("fremd/pointer.json"), "fremd");
    EXPECT_EQ(temporary_.read("fremd/capture.json"), "fremd");
}

TEST_F(Recoveries, AFilmOutsideTheFolderIsNotRepaired) {
    recordAndEnd();
    std::filesystem::rename(folder_ / "source.mov", temporary_ / "fremd.mov");
    std::filesystem::create_symlink(temporary_ / "fremd.mov", folder_ / "source.mov");
    const std::string movie = temporary_.read("fremd.mov");
    EXPECT_EQ(errorOfRecovery(), "In diesem Ordner liegt keine source.mov.");
    EXPECT_EQ(temporary_.read("fremd.mov"), movie);
}

TEST_F(Recoveries, AWebcamThatCannotBeSavedIsLeftOut) {
    recordAndEnd();
    temporary_.write("recording/webcam.mov", "Unsinn");
    temporary_.write("recording/journal", temporary_.read("recording/journal") + journalLine::webcam(999));
    EXPECT_TRUE(recoverRecording(folder_).recovered);
    EXPECT_FALSE(model::CaptureInfo::load(folder_).webcamFile.has_value());
}

TEST_F(Recoveries, CountersComeFromTheJournal) {
    {
        Recorder recorder(services_, options_, folder_);
        recorder.start();
        desktop_.emitScreen({platform::FrameStatus::idle, loop_.now(), nullptr});
        record(4, 320, 240);
        ASSERT_TRUE(waitForPictures("source.mov", 3));
    }
    const Recovery recovery = recoverRecording(folder_);
    EXPECT_EQ(recovery.stats.framesSkippedIdle, 1);
    EXPECT_GE(model::CaptureInfo::load(folder_).cursorPollsWithoutCursor, 90);
}

}  // namespace
}  // namespace lumivastor::capture
