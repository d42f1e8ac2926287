// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/movie_picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::render {
namespace {

namespace fs = std::filesystem;

std::vector<media::IndexedSample> samples(const std::vector<int>& keys, int count) {
    std::vector<media::IndexedSample> made;
    for (int i = 0; i < count; ++i) made.push_back({{i, 1}, 100, std::find(keys.begin(), keys.end(), i) != keys.end()});
    return made;
}

TEST(MoviePicture, FitsItsPlaceInTheMoviesAspectRatio) {
    EXPECT_EQ(moviePictureSize({2560, 1440}), (PixelSize{224, 126}));
    EXPECT_EQ(moviePictureSize({1080, 1920}), (PixelSize{71, 126}));
    EXPECT_EQ(moviePictureSize({128, 96}), (PixelSize{128, 96}));
    EXPECT_EQ(moviePictureSize({16000, 2}), (PixelSize{224, 1}));
    EXPECT_EQ(moviePictureSize({0, 0}), (PixelSize{1, 1}));
}

TEST(MoviePicture, TriesAThirdThenTwoThirdsThenTheBeginning) {
    using Order = std::vector<std::size_t>;
    EXPECT_EQ(moviePictureOrder(samples({0, 2, 4, 6, 8}, 10)), (Order{2, 6, 0}));
    EXPECT_EQ(moviePictureOrder(samples({0}, 10)), Order{0});
    EXPECT_EQ(moviePictureOrder(samples({}, 10)), Order{});
    EXPECT_EQ(moviePictureOrder(samples({5}, 10)), Order{5});
    EXPECT_EQ(moviePictureOrder({}), Order{});
}

class MoviePictureTest : public testing::Test {
  protected:
    // Every picture is of one grey, but for picture `striped`, which has a dark left half.
    fs::path movie(int striped) {
        TestMovieOptions options;
        options.pictures = 90;
        options.keyFrameInterval = 30;
        options.paint = [striped](int index, const imaging::YuvDestination& picture) {
            const auto width = static_cast<std::size_t>(options_.width);
            for (int y = 0; y < options_.height; ++y) {
                std::uint8_t* const row = picture.luma + y * picture.lumaStride;
                std::memset(row, 160, width);
                if (index == striped) std::memset(row, 40, width / 2);
            }
            for (int y = 0; y < options_.height / 2; ++y) {
                std::memset(picture.cb + y * picture.chromaStride, 128, width / 2);
                std::memset(picture.cr + y * picture.chromaStride, 128, width / 2);
            }
        };
        makeTestMovie(folder_ / "source.mov", options);
        return folder_ / "source.mov";
    }

    static inline const TestMovieOptions options_;
    TemporaryFolder folder_;
};

TEST_F(MoviePictureTest, ShowsTheFirstTriedPictureThatShowsSomething) {
    const auto picture = makeMoviePicture(movie(60));
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width(), options_.width);
    EXPECT_LT(picture->pixel(10, 10)[0], 80);
    EXPECT_GT(picture->pixel(100, 10)[0], 120);
    EXPECT_EQ(picture->pixel(10, 10)[3], 255);
}

TEST_F(MoviePictureTest, APlainOneIsBetterThanNone) {
    const auto picture = makeMoviePicture(movie(-1));
    ASSERT_TRUE(picture);
    EXPECT_GT(picture->pixel(10, 10)[0], 120);
}

TEST_F(MoviePictureTest, IsKeptForTheMovieAndMadeAgainWhenItIsDamaged) {
    const OverviewCache cache(folder_ / "cache");
    const fs::path path = movie(60);
    const auto made = moviePicture(path, cache);
    const auto identity = movieIdentity(path).value();
    const fs::path file = cache.pictureFileOf(identity);
    ASSERT_TRUE(fs::is_regular_file(file));
    EXPECT_EQ(file.extension(), ".picture");
    const auto kept = cache.loadPicture(identity);
    ASSERT_TRUE(kept);
    for (int y = 0; y < made->height(); ++y) {
        ASSERT_EQ(std::memcmp(kept->row(y), made->row(y), static_cast<std::size_t>(made->width()) * 4), 0);
    }
    fs::resize_file(file, 20);
    EXPECT_FALSE(cache.loadPicture(identity));
    EXPECT_TRUE(moviePicture(path, cache));
    EXPECT_TRUE(cache.loadPicture(identity));
}

TEST_F(MoviePictureTest, LimitsOfTheCacheCountPicturesToo) {
    const fs::path path = movie(60);
    const OverviewCache generous(folder_ / "cache");
    moviePicture(path, generous);
    const auto identity = movieIdentity(path).value();
    const OverviewCache small(folder_ / "cache", {.bytes = 10, .age = 1000});
    small.storePicture(*generous.loadPicture(identity), identity + 1);
    EXPECT_FALSE(small.loadPicture(identity));
    EXPECT_FALSE(small.loadPicture(identity + 1));
}

TEST_F(MoviePictureTest, WithoutPicturesThereIsNoneAndDamageIsAnError) {
    TestMovieOptions soundOnly;
    soundOnly.videoEncoder = "";
    soundOnly.sounds.emplace_back();
    soundOnly.soundSeconds = 1;
    makeTestMovie(folder_ / "sound.mov", soundOnly);
    EXPECT_FALSE(makeMoviePicture(folder_ / "sound.mov"));
    folder_.write("damaged.mov", "no movie");
    EXPECT_THROW(makeMoviePicture(folder_ / "damaged.mov"), RecorderError);
    EXPECT_THROW(makeMoviePicture(folder_ / "missing.mov"), RecorderError);
    EXPECT_FALSE(OverviewCache(fs::path()).loadPicture(7));
}

}  // namespace
}  // namespace lumivastor::render
