// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/frame_seeker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "base/recorder_error.h"
#include "imaging/painting/painter.h"
#include "media/reading/movie_file.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::playback {
namespace {

int numberIn(const std::optional<imaging::Picture>& picture) {
    if (!picture) return -1;
    imaging::BgraPremultipliedBuffer pixels(static_cast<int>(picture->extent().width),
                                            static_cast<int>(picture->extent().height));
    imaging::Painter(1).paint(*picture, pixels);
    return testPictureNumber(pixels);
}

media::SegmentedTrack wholeTrack(const std::filesystem::path& path) {
    const auto movie = media::SegmentedMovie::showing(std::make_shared<const media::Asset>(path));
    return movie.tracks(media::TrackKind::video).at(0);
}

int numberAt(FrameSeeker& seeker, double seconds) {
    const auto found = seeker.find(momentOf(seconds));
    EXPECT_TRUE(found && found->shown.contains(momentOf(seconds))) << seconds;
    return found ? numberIn(found->picture) : -2;
}

// A recording as screens give them: pictures when something moves, key pictures far apart.
TestMovieOptions unevenLongGroups() {
    TestMovieOptions options;
    options.timescale = 90000;
    std::int64_t tick = 0;
    for (int i = 0; i < 120; ++i) {
        options.pictureTicks.push_back(tick);
        tick += i % 11 == 0 ? 40007 : 1500 + 7 * i;
    }
    options.keyFrameInterval = 50;
    return options;
}

void damage(const TemporaryFolder& folder, const std::string& name, double from, double to) {
    std::string bytes = folder.read(name);
    std::mt19937 random(7);
    const auto at = [&](double part) { return static_cast<std::size_t>(part * static_cast<double>(bytes.size())); };
    for (std::size_t i = at(from); i < at(to); ++i) bytes[i] = static_cast<char>(random());
    folder.write(name, bytes);
}

TEST(FrameSeeker, FindsTheExactPictureAtEveryFrameInAnyOrder) {
    const TemporaryFolder folder;
    for (const int reordered : {0, 2}) {
        TestMovieOptions options = unevenLongGroups();
        options.reorderedPictures = reordered;
        makeTestMovie(folder / "a.mov", options);
        FrameSeeker seeker(wholeTrack(folder / "a.mov"), FrameSeeker::Before::firstPicture);
        std::vector<int> order;
        for (int i = 0; i < 120; ++i) order.push_back(i);
        std::shuffle(order.begin(), order.end(), std::mt19937(5));
        for (const int number : order) {
            const double seconds = testPictureSeconds(options, number);
            EXPECT_EQ(numberAt(seeker, seconds), number);
            // Up to the next picture, and not before its own.
            const double next = number < 119 ? testPictureSeconds(options, number + 1) : seconds + 5;
            EXPECT_EQ(numberAt(seeker, next - 0.0003), number);
        }
    }
}

TEST(FrameSeeker, ShowsWhatItPassesOnItsWay) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.keyFrameInterval = 20;
    makeTestMovie(folder / "a.mov", options);
    FrameSeeker seeker(wholeTrack(folder / "a.mov"), FrameSeeker::Before::firstPicture);
    std::vector<int> passed;
    const auto passing = [&](const ShownPicture& picture) {
        passed.push_back(numberIn(picture.picture));
        return passed.size() < 8;
    };
    EXPECT_EQ(numberIn(seeker.find(momentOf(25 / 30.0), passing)->picture), 25);
    EXPECT_EQ(passed, (std::vector<int>{20, 21, 22, 23, 24}));
    passed.clear();
    // Ended on its way, it goes on from there.
    EXPECT_FALSE(seeker.find(momentOf(55 / 30.0), passing));
    EXPECT_EQ(passed.size(), 8u);
    const int reached = passed.back();
    passed.clear();
    EXPECT_EQ(numberIn(seeker.find(momentOf(52 / 30.0), passing)->picture), 52);
    EXPECT_EQ(passed.front(), reached);
    EXPECT_EQ(passed.back(), 51);
}

TEST(FrameSeeker, ATrackHoldsItsLastPictureInGapsAndAtItsEnd) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    makeTestMovie(folder / "a.mov", options);
    const auto asset = std::make_shared<const media::Asset>(folder / "a.mov");
    const int source = asset->tracks(media::TrackKind::video).at(0).id;
    media::SegmentedMovie movie;
    const int track = movie.addTrack(media::TrackKind::video);
    movie.insertEmpty(track, {{}, {1, 1}});
    movie.insert(track, asset, source, {{10, 30}, {15, 30}}, {1, 1});
    movie.insertEmpty(track, {{45, 30}, {1, 1}});
    movie.insert(track, asset, source, {{50, 30}, {5, 30}}, {75, 30});
    FrameSeeker seeker(*movie.track(track), FrameSeeker::Before::nothing);
    EXPECT_EQ(numberAt(seeker, 0), -1);
    EXPECT_EQ(numberAt(seeker, 0.99), -1);
    EXPECT_EQ(numberAt(seeker, 1), 10);
    EXPECT_EQ(numberAt(seeker, 44 / 30.0), 24);
    EXPECT_EQ(numberAt(seeker, 45 / 30.0), 24);
    EXPECT_EQ(numberAt(seeker, 74 / 30.0), 24);
    EXPECT_EQ(numberAt(seeker, 75 / 30.0), 50);
    EXPECT_EQ(numberAt(seeker, 1000), 54);
    EXPECT_EQ(numberAt(seeker, 2), 24);
    FrameSeeker early(*movie.track(track), FrameSeeker::Before::firstPicture);
    EXPECT_EQ(numberAt(early, 0), 10);
}

TEST(FrameSeeker, HoldsTheLastPictureOverDamageUpToTheNextKeyPicture) {
    const TemporaryFolder folder;
    for (const char* const encoder : {"libx264", "libx265"}) {
        TestMovieOptions options;
        options.videoEncoder = encoder;
        options.pictures = 150;
        options.keyFrameInterval = 30;
        options.indexFirst = true;
        makeTestMovie(folder / "a.mov", options);
        // A few whole pictures: less may go unseen, because neither codec carries checksums.
        damage(folder, "a.mov", 0.5, 0.6);
        FrameSeeker onward(wholeTrack(folder / "a.mov"), FrameSeeker::Before::firstPicture);
        int held = 0;
        int damaged = 0;
        for (int i = 0; i < 150; ++i) {
            const int number = numberAt(onward, i / 30.0);
            if (number == i) {
                if (damaged > 0 && held != i - 1) {
                    EXPECT_EQ(i % 30, 0) << encoder << ": taken up again at a key picture";
                }
                held = i;
            } else {
                // The first noise may lie within the last picture that is taken for a good one, and hide its number.
                EXPECT_TRUE(number == held || number == -1) << encoder << i << ": " << number;
                ++damaged;
            }
        }
        EXPECT_GT(damaged, 0) << encoder;
        EXPECT_LT(damaged, 60) << encoder;
        EXPECT_EQ(held, 149) << encoder;
        // Backward, every picture is either itself or one before it, and what was readable still is.
        FrameSeeker back(wholeTrack(folder / "a.mov"), FrameSeeker::Before::firstPicture);
        int damagedBack = 0;
        for (int i = 149; i >= 0; --i) {
            const int number = numberAt(back, i / 30.0);
            EXPECT_LE(number, i) << encoder;
            EXPECT_GE(number, -1) << encoder << i;
            damagedBack += number == i ? 0 : 1;
        }
        EXPECT_EQ(damagedBack, damaged) << encoder;
    }
}

TEST(FrameSeeker, HoldsTheLastPictureOfAFileThatWasCutOff) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.pictures = 150;
    options.keyFrameInterval = 30;
    options.indexFirst = true;
    makeTestMovie(folder / "a.mov", options);
    const std::string whole = folder.read("a.mov");
    folder.write("cut.mov", whole.substr(0, whole.size() * 6 / 10));
    FrameSeeker seeker(wholeTrack(folder / "cut.mov"), FrameSeeker::Before::firstPicture);
    int last = 0;
    while (last < 149 && numberAt(seeker, (last + 1) / 30.0) == last + 1) ++last;
    EXPECT_GT(last, 30);
    EXPECT_LT(last, 140);
    EXPECT_EQ(numberAt(seeker, 4.9), last);
    EXPECT_EQ(numberAt(seeker, 0.5), 15);
    FrameSeeker direct(wholeTrack(folder / "cut.mov"), FrameSeeker::Before::firstPicture);
    EXPECT_EQ(numberAt(direct, 4.9), last);
}

TEST(FrameSeeker, AMissingFileIsAnError) {
    const TemporaryFolder folder;
    makeTestMovie(folder / "a.mov", {});
    const media::SegmentedTrack track = wholeTrack(folder / "a.mov");
    FrameSeeker seeker(track, FrameSeeker::Before::firstPicture);
    std::filesystem::remove(folder / "a.mov");
    static_cast<void>(track.segments.front().asset->takeFile());  // another reader has it
    EXPECT_THROW(static_cast<void>(seeker.find({})), RecorderError);
}

}  // namespace
}  // namespace lumivastor::playback
