// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/proof/recording_proof.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "base/recorder_error.h"
#include "model/capture_info.h"
#include "support/folder_listing.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::capture {
namespace {

// A folder with a movie made by FFmpeg and the document that fits it.
class RecordingProof : public testing::Test {
  protected:
    void SetUp() override {
        movie_.pictures = 120;
        movie_.keyFrameInterval = 30;
        movie_.sounds = {{2, 48000, 440, 0.2, true}, {1, 48000, 330, 0.1, true}};
        info_.createdAt = "2024-05-01T09:30:12Z";
        info_.sourceKind = "display";
        info_.pixelWidth = movie_.width;
        info_.pixelHeight = movie_.height;
        info_.fps = 30;
        info_.systemAudio = info_.microphone = true;
        info_.duration = 4;
        info_.framesWritten = 120;
    }
    void makeRecording() {
        makeTestMovie(folder_ / "source.mov", movie_);
        info_.save(folder_.path());
    }
    static std::string faultsOf(const model::RecordingQuality& quality) {
        std::string names;
        for (const model::QualityCheck& check : quality.checks) {
            if (!check.ok) names += check.name + " ";
        }
        return names;
    }

    TemporaryFolder folder_;
    TestMovieOptions movie_;
    model::CaptureInfo info_;
};

TEST_F(RecordingProof, AWholeRecordingIsWell) {
    makeRecording();
    const model::RecordingQuality quality = checkRecording(folder_.path());
    EXPECT_TRUE(quality.ok) << quality.summary;
    EXPECT_TRUE(quality.summary.starts_with("Geprüft: 0:04 min, 120 Bilder, Ton vollständig, −1")) << quality.summary;
    EXPECT_EQ(quality.pictures, 120);
    EXPECT_EQ(quality.picturesDecoded, 4);
    EXPECT_EQ(quality.sounds.size(), 2U);
    EXPECT_EQ(quality.checkedAt.size(), std::string("2024-05-01T09:30:12Z").size());
}

TEST_F(RecordingProof, CheckingLeavesTheFolderAsItIs) {
    makeRecording();
    const auto before = namesIn(folder_.path());
    checkRecording(folder_.path());
    EXPECT_EQ(namesIn(folder_.path()), before);
}

TEST_F(RecordingProof, AfterARecordingTheResultIsKept) {
    makeRecording();
    model::RecordingQuality proved;
    // A thread of its own, because the proof lowers its priority.
    std::jthread([&] { proved = proveRecording(folder_.path()); }).join();
    EXPECT_EQ(model::RecordingQuality::find(folder_.path()), proved);
    EXPECT_TRUE(proved.ok) << proved.summary;
    EXPECT_EQ(modeOf(folder_ / "quality.json"), 0600U);
}

TEST_F(RecordingProof, AFolderThatTakesNoDocumentIsProvedNevertheless) {
    makeRecording();
    std::filesystem::create_directories(folder_ / "quality.json" / "inside");
    model::RecordingQuality proved;
    std::jthread([&] { proved = proveRecording(folder_.path()); }).join();
    EXPECT_TRUE(proved.ok) << proved.summary;
}

TEST_F(RecordingProof, FindsWhatIsWrongWithAMovie) {
    info_.framesWritten = 125;
    makeRecording();
    EXPECT_EQ(faultsOf(checkRecording(folder_.path())), "pictures ");
    info_.framesWritten = 120;
    info_.duration = 10;
    info_.save(folder_.path());
    EXPECT_EQ(faultsOf(checkRecording(folder_.path())), "length sound ");
    info_.duration = 4;
    info_.save(folder_.path());
    movie_.sounds[1].amplitude = 0;
    makeRecording();
    EXPECT_EQ(faultsOf(checkRecording(folder_.path())), "microphone ");
    movie_.sounds.clear();
    makeRecording();
    EXPECT_EQ(faultsOf(checkRecording(folder_.path())), "movie ");
}

TEST_F(RecordingProof, AMissingOrForeignMovieIsAFinding) {
    makeRecording();
    std::filesystem::remove(folder_ / "source.mov");
    EXPECT_EQ(faultsOf(checkRecording(folder_.path())), "movie ");
    folder_.write("source.mov", "no movie");
    EXPECT_EQ(faultsOf(checkRecording(folder_.path())), "movie ");
    movie_.fragmented = true;
    makeRecording();
    EXPECT_EQ(checkRecording(folder_.path()).summary,
              "Die Prüfung fand Fehler: source.mov ist noch nicht abgeschlossen.");
}

TEST_F(RecordingProof, TheCameraIsCheckedToo) {
    makeRecording();
    TestMovieOptions camera;
    camera.pictures = 120;
    makeTestMovie(folder_ / "webcam.mov", camera);
    info_.webcamFile = "webcam.mov";
    info_.webcamOffset = 0.1;
    info_.save(folder_.path());
    model::RecordingQuality quality = checkRecording(folder_.path());
    EXPECT_TRUE(quality.ok) << quality.summary;
    ASSERT_TRUE(quality.webcam);
    EXPECT_EQ(quality.webcam->pictures, 120);
    std::filesystem::remove(folder_ / "webcam.mov");
    quality = checkRecording(folder_.path());
    EXPECT_EQ(quality.summary, "Die Prüfung fand Fehler: Der Film der Kamera fehlt.");
}

TEST_F(RecordingProof, OnlyACompleteRecordingIsChecked) {
    EXPECT_THROW(checkRecording(folder_.path()), RecorderError);
    folder_.write("journal", "");
    folder_.write("source.mov", "");
    try {
        checkRecording(folder_.path());
        ADD_FAILURE();
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(), "Die Aufnahme ist nicht abgeschlossen. „lumivastor recover“ vervollständigt sie.");
    }
}

TEST_F(RecordingProof, AStopRequestEndsIt) {
    makeRecording();
    std::stop_source source;
    source.request_stop();
    ProofOptions options;
    options.stop = source.get_token();
    EXPECT_THROW(checkRecording(folder_.path(), options), RecorderError);
}

TEST_F(RecordingProof, ThoroughMeansEveryPicture) {
    makeRecording();
    ProofOptions options;
    options.isThorough = true;
    std::vector<double> seen;
    options.progress = [&seen](double progress) { seen.push_back(progress); };
    EXPECT_EQ(checkRecording(folder_.path(), options).picturesDecoded, 120);
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.back(), 1);
}

}  // namespace
}  // namespace lumivastor::capture
