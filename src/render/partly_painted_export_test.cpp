// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "imaging/painting/painter.h"
#include "imaging/picture_difference.h"
#include "imaging/picture_pool.h"
#include "render/movie_renderer.h"
#include "support/export_fixture.h"
#include "support/test_movie.h"

// Exports in which most of each frame stays: nothing of an earlier frame may remain, and nothing new be missing.

namespace lumivastor::render {
namespace {

constexpr PixelSize kCanvas{256, 192};

std::vector<std::uint8_t> lumaOf(const std::uint8_t* samples, std::ptrdiff_t stride) {
    std::vector<std::uint8_t> luma;
    for (int y = 0; y < kCanvas.height; ++y) {
        luma.insert(luma.end(), samples + y * stride, samples + y * stride + kCanvas.width);
    }
    return luma;
}

// The largest difference of the means of 8 x 8 pixels: what codecs lose is far below what a layer in the wrong place
// is.
double worstBlock(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    double worst = 0;
    for (int top = 0; top < kCanvas.height; top += 8) {
        for (int left = 0; left < kCanvas.width; left += 8) {
            int sum = 0;
            for (int y = top; y < top + 8; ++y) {
                for (int x = left; x < left + 8; ++x) {
                    const auto at = static_cast<std::size_t>(y * kCanvas.width + x);
                    sum += a[at] - b[at];
                }
            }
            worst = std::max(worst, std::abs(sum / 64.0));
        }
    }
    return worst;
}

class PartlyPaintedExport : public ExportFixture {
  protected:
    PartlyPaintedExport() {
        // A page on which a dark square walks, a little with every third picture.
        options_.bitRate = 8'000'000;
        options_.paint = [](int index, const imaging::YuvDestination& to) {
            for (int y = 0; y < to.height; ++y) {
                for (int x = 0; x < to.width; ++x) {
                    const int at = index / 3;
                    const bool isSquare = x >= 20 + at && x < 36 + at && y >= 40 && y < 56;
                    to.luma[y * to.lumaStride + x] = static_cast<std::uint8_t>(isSquare ? 40 : 150 + x / 16 * 8);
                }
            }
            for (int y = 0; y < to.height / 2; ++y) {
                std::fill_n(to.cb + y * to.chromaStride, to.width / 2, std::uint8_t{128});
                std::fill_n(to.cr + y * to.chromaStride, to.width / 2, std::uint8_t{128});
            }
        };
        imaging::BgraPremultipliedBuffer shape(24, 24);
        for (int y = 0; y < 24; ++y) std::fill_n(shape.row(y), 24 * 4, std::uint8_t{255});
        pointer_ = imaging::Picture(std::make_shared<const imaging::BgraPremultipliedBuffer>(std::move(shape)));
    }

    imaging::Picture pointer_;
};

TEST_F(PartlyPaintedExport, ShowsWhatWholeFramesShow) {
    makeRecording(3);
    imaging::Painter painter(1);
    imaging::PlanarBuffer buffer(kCanvas.width, kCanvas.height, {});
    std::vector<std::vector<std::uint8_t>> expected;
    std::optional<imaging::Picture> last;
    int partly = 0;
    const auto frames = [&](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam, double t) {
        // A pointer that rests for a while, jumps and goes.
        const double x = t < 1 ? t * 200 : t < 2 ? 200 : 20;
        imaging::Picture frame = sourceFilling(kCanvas)(source, webcam, t);
        if (t < 2.5) frame = pointer_.transformed(imaging::AffineTransform::translation(x, 90)).over(frame);
        painter.paint(frame, buffer.destination());
        expected.push_back(lumaOf(buffer.destination().luma, buffer.destination().lumaStride));
        if (last) {
            const imaging::KnownDamage damage = imaging::differenceOf(*last, frame, kCanvas);
            if (damage && !damage->isEmpty()) ++partly;
        }
        last = frame;
        return frame;
    };
    EXPECT_EQ(renderMovieSync(*open(kCanvas), frames).frames, 90);
    EXPECT_GT(partly, 40) << "most frames differ in a part";
    const auto pictures = decodeTestMovie(folder_ / "studio-output.mp4");
    ASSERT_EQ(pictures.size(), 90u);
    ASSERT_EQ(expected.size(), 90u);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const imaging::YuvPlane& luma = pictures[i].picture.luma;
        EXPECT_LT(worstBlock(lumaOf(luma.samples, luma.stride), expected[i]), 12) << i;
    }
    // The measure would see a layer that is off by a few pixels.
    EXPECT_GT(worstBlock(expected[20], expected[22]), 20);
}

}  // namespace
}  // namespace lumivastor::render
