// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/cut_composition.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>
#include "base/shifted_moment.h"

#include "base/log.h"
#include "base/recorder_error.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"
#include "support/text_file.h"

namespace lumivastor::render {
namespace {

constexpr std::int64_t kSecond = 600;

MediaTime ticks(std::int64_t value) {
    return {value, 600};
}

class CutCompositionTest : public testing::Test {
  protected:
    void makeScreen(int sounds = 2) {
        TestMovieOptions options;
        options.pictures = 150;
        for (int i = 0; i < sounds; ++i) options.sounds.push_back({});
        makeTestMovie(folder_ / "source.mov", options);
    }

    void makeWebcam(int pictures) {
        TestMovieOptions options;
        options.pictures = pictures;
        makeTestMovie(folder_ / "webcam.mov", options);
        info_.webcamFile = "webcam.mov";
    }

    RecordingAssets open() {
        info_.pixelWidth = 128;
        info_.pixelHeight = 96;
        info_.duration = 5;
        return openRecordingAssets(edit::Recording(folder_.path(), info_, {}));
    }

    std::string openingMessage() {
        try {
            open();
        } catch (const RecorderError& error) {
            return error.message();
        }
        return "no error";
    }

    static std::string logText() {
        Log::drain();
        return readText(Log::url());
    }

    TemporaryFolder folder_;
    model::CaptureInfo info_;
};

TEST_F(CutCompositionTest, KeptSegmentsLieBackToBackInAllTracks) {
    makeScreen();
    const RecordingAssets assets = open();
    const std::vector<Interval> segments = {{0.5, 1.25}, {2, 3.0001}, {4, 5}};
    const CutComposition cut = makeCutComposition(segments, assets, 0);
    ASSERT_TRUE(cut.screenTrackId);
    EXPECT_FALSE(cut.webcamTrackId);
    ASSERT_EQ(cut.audioTrackIds.size(), 2u);
    ASSERT_EQ(cut.movie.tracks().size(), 3u);
    for (const media::SegmentedTrack& track : cut.movie.tracks()) {
        ASSERT_EQ(track.segments.size(), 3u);
        MediaTime at;
        for (std::size_t i = 0; i < segments.size(); ++i) {
            const media::MovieSegment& segment = track.segments[i];
            EXPECT_EQ(segment.asset, assets.screen);
            EXPECT_EQ(segment.sourceStart, MediaTime::fromSeconds(segments[i].start, 600));
            EXPECT_EQ(segment.target.start, at);
            at = at + (MediaTime::fromSeconds(segments[i].end, 600) - segment.sourceStart);
            EXPECT_EQ(segment.target.end(), at);
        }
    }
    EXPECT_EQ(cut.movie.duration(), ticks(1650));
}

TEST_F(CutCompositionTest, SoundTracksKeepTheSourcesOrder) {
    makeScreen();
    const RecordingAssets assets = open();
    const CutComposition cut = makeCutComposition(std::vector<Interval>{{0, 5}}, assets, 0);
    const auto sounds = assets.screen->tracks(media::TrackKind::audio);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(cut.movie.track(cut.audioTrackIds[i])->segments.at(0).sourceTrackId, sounds[i].id);
    }
}

TEST_F(CutCompositionTest, TheWebcamStaysInStepWhereItStartsLateAndEndsEarly) {
    makeScreen(0);
    makeWebcam(60);  // 2 s, from source time 1.5 to 3.5
    const RecordingAssets assets = open();
    ASSERT_TRUE(assets.webcam);
    const CutComposition cut =
        makeCutComposition(std::vector<Interval>{{0, 1}, {1.25, 2}, {2.5, 3}, {3.25, 5}}, assets, 1.5);
    ASSERT_TRUE(cut.webcamTrackId);
    const media::SegmentedTrack& webcam = *cut.movie.track(*cut.webcamTrackId);
    // What is shown from where (seconds of the webcam movie, -1 for nothing), and until when on the output's line.
    struct Expected {
        double source, until;
    };
    std::vector<Expected> found;
    for (const media::MovieSegment& segment : webcam.segments) {
        found.push_back({segment.isEmpty() ? -1 : segment.sourceStart.seconds(), segment.target.end().seconds()});
    }
    const std::vector<Expected> expected = {{-1, 1}, {-1, 1.25}, {0, 1.75}, {1, 2.25}, {1.75, 2.5}, {-1, 4}};
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(found[i].source, expected[i].source, 1e-9) << i;
        EXPECT_NEAR(found[i].until, expected[i].until, 1e-9) << i;
    }
    EXPECT_EQ(webcam.end(), cut.movie.track(*cut.screenTrackId)->end());
}

TEST_F(CutCompositionTest, TheWebcamsPictureIsShiftedAcrossCutsAndBeginsWhereItDid) {
    makeScreen(0);
    makeWebcam(60);  // 2 s, from source time 1.5 to 3.5
    const RecordingAssets assets = open();
    const std::vector<Interval> kept{{0, 2}, {2.5, 3}, {3.25, 5}};
    for (const double shift : {0.3, -0.3}) {
        const CutComposition cut = makeCutComposition(kept, assets, 1.5, shift);
        const media::SegmentedTrack& webcam = *cut.movie.track(*cut.webcamTrackId);
        EXPECT_EQ(webcam.end(), cut.movie.track(*cut.screenTrackId)->end());
        const auto shownAt = [&](double output) {
            for (const media::MovieSegment& segment : webcam.segments) {
                const double in = output - segment.target.start.seconds();
                if (in < 0 || output >= segment.target.end().seconds()) continue;
                return segment.isEmpty() ? -1 : segment.sourceStart.seconds() + in;
            }
            return -2.0;
        };
        for (double output = 0.01; output < 4.2; output += 0.02) {
            const double source = shownSourceTime(cut.shownSegments, output);
            const double expected = shiftedMoment(source - 1.5, shift, {0, 2});
            const double shown = shownAt(output);
            if (source < 1.5 || source - 1.5 - shift >= 2) {
                EXPECT_EQ(shown, -1) << "before it, and behind its last picture, which stays: " << output;
            } else {
                // The still at its beginning consists of pieces of a sixtieth.
                EXPECT_NEAR(shown, expected, expected == 0 ? 1.0 / 60 : 1e-6) << output << " by " << shift;
            }
        }
    }
}

TEST_F(CutCompositionTest, AWebcamThatStartsBeforeTheScreenIsShiftedTheOtherWay) {
    makeScreen(0);
    makeWebcam(60);
    const CutComposition cut = makeCutComposition(std::vector<Interval>{{0, 5}}, open(), -0.5);
    const media::SegmentedTrack& webcam = *cut.movie.track(*cut.webcamTrackId);
    ASSERT_EQ(webcam.segments.size(), 2u);
    EXPECT_EQ(webcam.segments[0].sourceStart, ticks(kSecond / 2));
    EXPECT_EQ(webcam.segments[0].target, (TimeRange{{}, ticks(kSecond * 3 / 2)}));
    EXPECT_TRUE(webcam.segments[1].isEmpty());
}

TEST_F(CutCompositionTest, WithoutSegmentsNothingIsLeft) {
    makeScreen(0);
    const RecordingAssets assets = open();
    try {
        makeCutComposition({}, assets, 0);
        FAIL();
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(), "Es bleibt nichts übrig - alles ist weggeschnitten.");
    }
}

TEST_F(CutCompositionTest, AMovieWithoutPicturesGivesNoScreenTrack) {
    TestMovieOptions options;
    options.videoEncoder = "";
    options.pictures = 0;
    options.soundSeconds = 2;
    options.sounds = {{}};
    makeTestMovie(folder_ / "source.mov", options);
    makeWebcam(30);
    const CutComposition cut = makeCutComposition(std::vector<Interval>{{0, 2}}, open(), 0);
    EXPECT_FALSE(cut.screenTrackId);
    EXPECT_FALSE(cut.webcamTrackId);
    EXPECT_EQ(cut.audioTrackIds.size(), 1u);
}

TEST_F(CutCompositionTest, AMissingScreenMovieIsSaid) {
    EXPECT_EQ(openingMessage(), "source.mov konnte nicht gelesen werden: Datei oder Ordner nicht gefunden.");
    folder_.write("source.mov", "no movie");
    EXPECT_TRUE(openingMessage().starts_with("source.mov konnte nicht gelesen werden: ")) << openingMessage();
}

TEST_F(CutCompositionTest, AWebcamMovieThatCannotBeOpenedCountsAsNone) {
    makeScreen(0);
    folder_.write("webcam.mov", "no movie");
    info_.webcamFile = "webcam.mov";
    EXPECT_FALSE(open().webcam);
    EXPECT_NE(logText().find("[Studio] Webcam-Film wird weggelassen: webcam.mov"), std::string::npos);
    TestMovieOptions soundOnly;
    soundOnly.videoEncoder = "";
    soundOnly.pictures = 0;
    soundOnly.soundSeconds = 1;
    soundOnly.sounds = {{}};
    makeTestMovie(folder_ / "webcam.mov", soundOnly);
    EXPECT_FALSE(open().webcam);
    EXPECT_NE(logText().find("[Studio] Webcam-Film ohne Bilder"), std::string::npos);
}

TEST(AudioMix, VolumesGoToTheTracksThatWereRecorded) {
    model::ProjectSettings settings;
    settings.systemVolume = 0.25;
    settings.micVolume = 1.5;
    const auto volumes = [&](bool system, bool microphone, std::size_t tracks) {
        model::CaptureInfo info;
        info.systemAudio = system;
        info.microphone = microphone;
        const std::vector<int> ids = {7, 8, 9};
        std::vector<float> found;
        for (const media::AudioMixInput& input : makeAudioMix(info, settings, std::span(ids).first(tracks))) {
            EXPECT_EQ(input.trackId, ids[found.size()]);
            found.push_back(input.volume);
        }
        return found;
    };
    EXPECT_EQ(volumes(true, true, 2), (std::vector<float>{0.25F, 1.5F}));
    EXPECT_EQ(volumes(false, true, 1), (std::vector<float>{1.5F}));
    EXPECT_EQ(volumes(true, false, 1), (std::vector<float>{0.25F}));
    EXPECT_EQ(volumes(false, false, 1), (std::vector<float>{1.0F}));
    EXPECT_EQ(volumes(true, true, 3), (std::vector<float>{0.25F, 1.5F, 1.0F}));
    EXPECT_EQ(volumes(true, true, 0), std::vector<float>{});
}

TEST_F(CutCompositionTest, AfterAThousandCutsTheSourceTimeIsStillThePictures) {
    makeScreen(0);
    // Each piece begins just above a tick and ends just below one, or the other way round: rounding adds up.
    std::vector<Interval> kept;
    for (int i = 0; i <= 1000; ++i) {
        const double grid = i * 5 / 600.0 * 12;
        kept.push_back({grid + 0.4 / 600, grid + (50 + i % 7 + 0.6) / 600});
    }
    const CutComposition cut = makeCutComposition(kept, open(), 0);
    const std::vector<media::MovieSegment>& shown = cut.movie.track(*cut.screenTrackId)->segments;
    ASSERT_EQ(shown.size(), 1001u);
    double furthest = 0;
    for (const media::MovieSegment& segment : shown) {
        const double start = segment.target.start.seconds();
        const double length = segment.target.duration.seconds();
        const double source = segment.sourceStart.seconds();
        for (const double part : {0.0, 0.3, 0.7, 0.99}) {
            const double t = start + part * length;
            EXPECT_NEAR(shownSourceTime(cut.shownSegments, t), source + part * length, 1e-9) << t;
            furthest = std::max(furthest, std::abs(edit::sourceTime(kept, t) - source - part * length));
        }
        // A time that a division made a little too small is behind the cut as well.
        EXPECT_NEAR(shownSourceTime(cut.shownSegments, start - 1e-9), source, 1e-8) << start;
    }
    EXPECT_GT(furthest, 1) << "the segments before rounding are another matter";
    const media::MovieSegment& last = shown.back();
    const double end = (last.sourceStart + last.target.duration).seconds();
    EXPECT_NEAR(shownSourceTime(cut.shownSegments, 1e6), end, 1e-9);
}

TEST_F(CutCompositionTest, SegmentsThatRoundingTakesAwayAreNotShown) {
    makeScreen(0);
    const CutComposition cut = makeCutComposition(std::vector<Interval>{{0, 1}, {1.5009, 1.50195}, {2, 3}}, open(), 0);
    ASSERT_EQ(cut.movie.track(*cut.screenTrackId)->segments.size(), 2u);
    ASSERT_EQ(cut.shownSegments.size(), 2u);
    EXPECT_EQ(shownSourceTime(cut.shownSegments, 1), 2);
    EXPECT_EQ(shownSourceTime({}, 1.25), 1.25);
}

}  // namespace
}  // namespace lumivastor::render
