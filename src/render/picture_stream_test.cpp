// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/picture_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <variant>
#include <vector>

#include "imaging/picture_node.h"
#include "media/reading/asset.h"
#include "render/cut_composition.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::render {
namespace {

constexpr int kPictures = 40;
constexpr double kSeconds = kPictures / 30.0;

// A page on which a dark square walks.
void paintPage(int index, const imaging::YuvDestination& to) {
    for (int y = 0; y < to.height; ++y) {
        for (int x = 0; x < to.width; ++x) {
            const bool isSquare = x >= 40 + index && x < 60 + index && y >= 100 && y < 120;
            to.luma[y * to.lumaStride + x] = static_cast<std::uint8_t>(isSquare ? 40 : 150 + x / 32 * 8);
        }
    }
    for (int y = 0; y < to.height / 2; ++y) {
        std::fill_n(to.cb + y * to.chromaStride, to.width / 2, std::uint8_t{110});
        std::fill_n(to.cr + y * to.chromaStride, to.width / 2, std::uint8_t{140});
    }
}

const imaging::YuvPicture& samplesOf(const imaging::Picture& picture) {
    return std::get<imaging::YuvNode>(picture.node().step).picture;
}

class PictureStreamTest : public testing::Test {
  protected:
    PictureStreamTest() {
        TestMovieOptions options;
        options.width = 320;
        options.height = 240;
        options.pictures = kPictures;
        options.paint = paintPage;
        makeTestMovie(folder_ / "source.mov", options);
    }

    PictureStream open(bool findsChanges = true) {
        const std::vector<Interval> all = {{0, kSeconds}};
        const CutComposition cut =
            makeCutComposition(all, {std::make_shared<const media::Asset>(folder_ / "source.mov"), nullptr}, 0);
        PictureStream stream(cut.movie, cut.screenTrackId.value(), {"Videoleser", kSeconds, 0, findsChanges});
        stream.open();
        return stream;
    }

    TemporaryFolder folder_;
};

// Expects all differing luma samples within the area.
void expectWithin(const imaging::DamageArea& area, const imaging::YuvPicture& a, const imaging::YuvPicture& b) {
    for (int y = 0; y < a.height; ++y) {
        for (int x = 0; x < a.width; ++x) {
            if (a.luma.samples[y * a.luma.stride + x] == b.luma.samples[y * b.luma.stride + x]) continue;
            ASSERT_TRUE(std::any_of(area.rects().begin(), area.rects().end(),
                                    [&](const PixelRect& rect) {
                                        return rect.contains({x, y, 1, 1});
                                    }))
                << x << "," << y;
        }
    }
}

TEST_F(PictureStreamTest, EachPictureSaysWhereItDiffersFromTheOneShownBefore) {
    for (const int step : {1, 3}) {
        PictureStream stream = open();
        std::optional<imaging::Picture> last;
        int known = 0;
        int small = 0;
        for (int frame = 0; frame < kPictures; frame += step) {
            ASSERT_TRUE(stream.advance(frame / 30.0));
            const imaging::Picture picture = *stream.current();
            const auto& change = samplesOf(picture).change;
            if (!last) {
                EXPECT_EQ(change, nullptr);
            } else if (change) {
                EXPECT_EQ(change->earlier.lock(), samplesOf(*last).owner);
                expectWithin(change->area, samplesOf(*last), samplesOf(picture));
                ++known;
                small += change->area.area() < 320 * 240 / 4 ? 1 : 0;
            }
            last = picture;
        }
        EXPECT_GT(known, kPictures / step / 2) << step;
        EXPECT_GT(small, kPictures / step / 2) << step;
    }
}

TEST_F(PictureStreamTest, WhileAPictureIsShownItStaysTheSame) {
    PictureStream stream = open();
    ASSERT_TRUE(stream.advance(5 / 30.0));
    const imaging::Picture first = *stream.current();
    ASSERT_TRUE(stream.advance(5.5 / 30.0));
    EXPECT_EQ(&stream.current()->node(), &first.node());
    ASSERT_TRUE(stream.advance(6 / 30.0));
    EXPECT_NE(*stream.current(), first);
}

TEST_F(PictureStreamTest, ThePictureReadAheadEqualsItselfOnceItIsShown) {
    PictureStream stream = open();
    ASSERT_NE(stream.pending(), nullptr);
    const imaging::Picture ahead = *stream.pending();
    EXPECT_EQ(stream.current(), nullptr);
    ASSERT_TRUE(stream.advance(0));
    EXPECT_EQ(*stream.current(), ahead);
}

TEST_F(PictureStreamTest, OnRequestNothingIsCompared) {
    PictureStream stream = open(false);
    for (int frame = 0; frame < kPictures; ++frame) {
        ASSERT_TRUE(stream.advance(frame / 30.0));
        EXPECT_EQ(samplesOf(*stream.current()).change, nullptr);
    }
}

}  // namespace
}  // namespace lumivastor::render
