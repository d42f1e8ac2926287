// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string_view>
#include <vector>

#include "imaging/painting/painter.h"
#include "imaging/painting/reference_painter.h"
#include "imaging/picture.h"

// What the operations mean in pixels, for every painter.

namespace lumivastor::imaging {
namespace {

using Buffer = BgraPremultipliedBuffer;
using Paint = void (*)(const Picture&, Buffer&);
using PaintYuv = void (*)(const Picture&, const YuvDestination&);

struct PainterUnderTest {
    const char* name;
    Paint paint;
    PaintYuv paintYuv;
};

struct Bgra {
    int blue, green, red, alpha;
};

std::shared_ptr<const Buffer> filled(int width, int height, const std::function<Bgra(int x, int y)>& colour) {
    auto buffer = std::make_shared<Buffer>(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Bgra value = colour(x, y);
            std::uint8_t* pixel = buffer->pixel(x, y);
            pixel[0] = static_cast<std::uint8_t>(value.blue);
            pixel[1] = static_cast<std::uint8_t>(value.green);
            pixel[2] = static_cast<std::uint8_t>(value.red);
            pixel[3] = static_cast<std::uint8_t>(value.alpha);
        }
    }
    return buffer;
}

Picture flat(int width, int height, const Bgra& colour) {
    return Picture(filled(width, height, [&](int, int) { return colour; }));
}

// Every pixel another opaque colour.
std::shared_ptr<const Buffer> colourful(int width, int height) {
    return filled(width, height, [](int x, int y) {
        return Bgra{(x * 37 + y * 11) % 256, (x * 5 + y * 83) % 256, (x * 59 + y * 29) % 256, 255};
    });
}

struct YuvSamples {
    std::vector<std::uint8_t> luma, cb, cr;
    int width, height;
    YuvEncoding encoding;

    YuvSamples(int width_, int height_, YuvEncoding encoding_ = {})
        : width(width_), height(height_), encoding(encoding_) {
        luma.resize(static_cast<std::size_t>(width * height));
        cb.resize(static_cast<std::size_t>((width + 1) / 2 * ((height + 1) / 2)));
        cr.resize(cb.size());
    }
    YuvDestination destination() {
        return {width, height, luma.data(), width, cb.data(), cr.data(), (width + 1) / 2, encoding};
    }
    Picture picture() const {
        const int half = (width + 1) / 2;
        return Picture(
            YuvPicture{width, height, {luma.data(), width}, {cb.data(), half}, {cr.data(), half}, encoding, nullptr});
    }
};

class Painting : public testing::TestWithParam<PainterUnderTest> {
  protected:
    Buffer paint(const Picture& picture, int width, int height) {
        Buffer destination(width, height);
        if (!destination.isEmpty()) std::memset(destination.row(0), 0x77, destination.stride());  // must be replaced
        GetParam().paint(picture, destination);
        return destination;
    }
    YuvSamples paintYuv(const Picture& picture, int width, int height, YuvEncoding encoding = {}) {
        YuvSamples samples(width, height, encoding);
        std::fill(samples.luma.begin(), samples.luma.end(), std::uint8_t{0x77});
        GetParam().paintYuv(picture, samples.destination());
        return samples;
    }
};

void expectEqual(const Buffer& actual, const Buffer& expected, int tolerance) {
    ASSERT_EQ(actual.width(), expected.width());
    ASSERT_EQ(actual.height(), expected.height());
    for (int y = 0; y < actual.height(); ++y) {
        for (int x = 0; x < actual.width(); ++x) {
            for (int i = 0; i < 4; ++i) {
                ASSERT_NEAR(actual.pixel(x, y)[i], expected.pixel(x, y)[i], tolerance)
                    << x << "," << y << " channel " << i;
            }
        }
    }
}

void expectPixel(const Buffer& picture, int x, int y, const Bgra& colour, int tolerance = 1) {
    const std::uint8_t* pixel = picture.pixel(x, y);
    EXPECT_NEAR(pixel[0], colour.blue, tolerance) << x << "," << y;
    EXPECT_NEAR(pixel[1], colour.green, tolerance) << x << "," << y;
    EXPECT_NEAR(pixel[2], colour.red, tolerance) << x << "," << y;
    EXPECT_NEAR(pixel[3], colour.alpha, tolerance) << x << "," << y;
}

constexpr Bgra kClear{0, 0, 0, 0};
constexpr Bgra kRed{0, 0, 255, 255};
constexpr Bgra kBlue{255, 0, 0, 255};

TEST_P(Painting, UnscaledAtWholePixelsEveryPixelIsCopied) {
    for (const int size : {1, 2, 3, 16, 17, 33, 70}) {
        const auto source = colourful(size, size + 1);
        expectEqual(paint(Picture(source), size, size + 1), *source, 0);
        const Buffer moved = paint(Picture(source).transformed(AffineTransform::translation(3, 2)), size + 5, size + 5);
        for (int y = 0; y < size + 1; ++y) {
            ASSERT_EQ(std::memcmp(moved.pixel(3, y + 2), source->row(y), static_cast<std::size_t>(size) * 4), 0);
        }
        expectPixel(moved, 0, 0, kClear, 0);
        expectPixel(moved, 2, 3, kClear, 0);
    }
}

TEST_P(Painting, TheOriginIsAtTheBottomLeft) {
    const auto picture = flat(2, 2, kRed).transformed(AffineTransform::translation(1, 0));
    const Buffer painted = paint(picture, 5, 6);
    expectPixel(painted, 1, 5, kRed, 0);
    expectPixel(painted, 2, 4, kRed, 0);
    expectPixel(painted, 1, 3, kClear, 0);
    expectPixel(painted, 0, 5, kClear, 0);
}

TEST_P(Painting, TheEmptyPictureIsTransparentAndBlack) {
    expectPixel(paint({}, 3, 3), 1, 1, kClear, 0);
    const YuvSamples samples = paintYuv({}, 3, 3);
    EXPECT_EQ(samples.luma, std::vector<std::uint8_t>(9, 16));
    EXPECT_EQ(samples.cb, std::vector<std::uint8_t>(4, 128));
    EXPECT_EQ(samples.cr, std::vector<std::uint8_t>(4, 128));
}

TEST_P(Painting, EmptyDestinationsAreLeftAlone) {
    EXPECT_TRUE(paint(flat(2, 2, kRed), 0, 0).isEmpty());
    EXPECT_TRUE(paintYuv(flat(2, 2, kRed), 0, 0).luma.empty());
}

TEST_P(Painting, EdgesCoverTheirPartOfAPixel) {
    const auto picture = flat(4, 4, {200, 100, 40, 255}).transformed(AffineTransform::translation(1.25, 2));
    const Buffer painted = paint(picture, 8, 8);
    expectPixel(painted, 1, 4, {150, 75, 30, 191});
    expectPixel(painted, 3, 4, {200, 100, 40, 255});
    expectPixel(painted, 5, 4, {50, 25, 10, 64});
    expectPixel(painted, 6, 4, kClear);
}

TEST_P(Painting, FlatColoursStayFlatAtEveryScale) {
    for (const double scale : {0.013, 0.19, 0.21, 0.45, 0.5, 0.84, 0.999, 1.0, 1.3, 1.6, 2.7, 9.0}) {
        const int size = static_cast<int>(40 / scale);
        const auto picture =
            flat(size, size, {201, 99, 43, 255})
                .transformed(AffineTransform::scaling(scale).then(AffineTransform::translation(-4.3, -2.6)));
        const Buffer painted = paint(picture, 30, 30);
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 30; ++x) expectPixel(painted, x, y, {201, 99, 43, 255}, 1);
        }
    }
}

TEST_P(Painting, HugeAndTinyScalesAreFine) {
    const Picture source(colourful(8, 8));
    const Buffer huge = paint(flat(8, 8, {70, 80, 90, 255}).transformed(AffineTransform::scaling(1e6)), 4, 4);
    expectPixel(huge, 1, 1, {70, 80, 90, 255});
    const Buffer tiny = paint(source.transformed(AffineTransform::scaling(1e-6)), 4, 4);
    expectPixel(tiny, 0, 3, kClear);
    expectPixel(tiny, 2, 2, kClear);
    const Buffer pixel = paint(flat(800, 800, kRed).transformed(AffineTransform::scaling(1.0 / 800)), 2, 2);
    expectPixel(pixel, 0, 1, kRed);
    expectPixel(pixel, 1, 1, kClear);
}

TEST_P(Painting, CroppedAwayPixelsNeverBleedIn) {
    const Picture source(filled(8, 8, [](int x, int) { return x < 4 ? kRed : kBlue; }));
    const Buffer painted = paint(source.cropped({4, 0, 4, 8}).transformed(AffineTransform::scaling(3.7)), 40, 30);
    for (int x = 0; x < 40; ++x) {
        EXPECT_EQ(painted.pixel(x, 20)[2], 0) << x;
    }
    expectPixel(painted, 13, 20, kClear);
    expectPixel(painted, 15, 20, kBlue);
}

TEST_P(Painting, ACropOutsideLeavesNothing) {
    const Picture source = flat(8, 8, kRed);
    expectPixel(paint(source.cropped({20, 20, 4, 4}), 30, 30), 21, 8, kClear, 0);
    const Picture far = source.cropped({2, 2, 4, 4}).transformed(AffineTransform::translation(5000, -7000));
    expectPixel(paint(far, 30, 30), 5, 5, kClear, 0);
}

TEST_P(Painting, StackingIsSourceOver) {
    const Picture front = flat(2, 4, {0, 64, 0, 128});
    const Buffer painted = paint(front.over(flat(4, 4, {200, 100, 50, 255})), 4, 4);
    expectPixel(painted, 0, 0, {100, 64 + 50, 25, 255});
    expectPixel(painted, 3, 0, {200, 100, 50, 255}, 0);
}

TEST_P(Painting, ClampingRepeatsTheEdges) {
    const Picture source(filled(2, 2, [](int x, int y) { return Bgra{x * 200, y * 200, 0, 255}; }));
    const Picture picture = source.clampedToExtent().transformed(AffineTransform::translation(4, 4));
    const Buffer painted = paint(picture, 10, 10);
    expectPixel(painted, 0, 0, {0, 0, 0, 255}, 0);
    expectPixel(painted, 9, 9, {200, 200, 0, 255}, 0);
    expectPixel(painted, 0, 9, {0, 200, 0, 255}, 0);
}

TEST_P(Painting, SquaresShowTheirMeanAndStartAtTheirCorner) {
    const Picture source(filled(8, 8, [](int x, int y) { return Bgra{x * 16, y * 16, 0, 255}; }));
    const Buffer painted = paint(source.pixellated({{1, 0, 6, 8}}, 4), 8, 8);
    expectPixel(painted, 0, 0, {0, 0, 0, 255}, 0);
    // Columns 1 to 4 and rows 0 to 3 from the top: means of 16, 32, 48, 64 and of 0, 16, 32, 48.
    expectPixel(painted, 1, 0, {40, 24, 0, 255});
    expectPixel(painted, 4, 3, {40, 24, 0, 255});
    // Columns 5 to 8, of which 8 repeats the edge.
    expectPixel(painted, 5, 0, {(80 + 96 + 112 + 112) / 4, 24, 0, 255});
    expectPixel(painted, 6, 7, {(80 + 96 + 112 + 112) / 4, 88, 0, 255});
    expectPixel(painted, 7, 7, {112, 112, 0, 255}, 0);
}

TEST_P(Painting, ALaterMaskPixellatesTheEarlierOneAgain) {
    const Picture source(filled(12, 4, [](int x, int) { return Bgra{x < 4 ? 0 : 200, 0, 0, 255}; }));
    const Picture once = source.pixellated({{2, 0, 4, 4}}, 4);
    expectPixel(paint(once, 12, 4), 2, 0, {100, 0, 0, 255});
    expectPixel(paint(once, 12, 4), 5, 0, {100, 0, 0, 255});
    for (const Picture& picture :
         {once.pixellated({{4, 0, 4, 4}}, 4), source.pixellated({{2, 0, 4, 4}, {4, 0, 4, 4}}, 4)}) {
        const Buffer twice = paint(picture, 12, 4);
        expectPixel(twice, 3, 0, {100, 0, 0, 255});
        expectPixel(twice, 4, 0, {150, 0, 0, 255});  // 100, 100, 200, 200
        expectPixel(twice, 7, 0, {150, 0, 0, 255});
        expectPixel(twice, 8, 0, {200, 0, 0, 255});
    }
}

TEST_P(Painting, TheOrderOfMasksCounts) {
    const Picture source(filled(12, 4, [](int x, int) { return Bgra{x < 4 ? 0 : 200, 0, 0, 255}; }));
    const Buffer painted = paint(source.pixellated({{4, 0, 4, 4}, {2, 0, 4, 4}}, 4), 12, 4);
    expectPixel(painted, 2, 0, {100, 0, 0, 255});
    expectPixel(painted, 5, 0, {100, 0, 0, 255});
    expectPixel(painted, 6, 0, {200, 0, 0, 255});
}

TEST_P(Painting, StacksMayBeDeeperThanTheStack) {
    const Picture dot = flat(1, 1, kRed);
    Picture picture = flat(4, 4, kBlue);
    const int deep = std::string_view(GetParam().name) == "reference" ? 100 : 20000;
    for (int i = 0; i < deep; ++i) picture = dot.over(picture);
    const Buffer painted = paint(picture, 4, 4);
    expectPixel(painted, 0, 3, kRed, 0);
    expectPixel(painted, 1, 3, kBlue, 0);
}

TEST_P(Painting, MattesMultiplyByTheirAlphaAlone) {
    const Picture matte(filled(4, 4, [](int x, int) { return Bgra{0, 10, 20, x * 85}; }));
    const Buffer painted = paint(flat(6, 6, {240, 120, 60, 255}).blendedWithMatte(matte), 6, 6);
    expectPixel(painted, 0, 5, kClear, 0);
    expectPixel(painted, 1, 5, {80, 40, 20, 85});
    expectPixel(painted, 3, 5, {240, 120, 60, 255});
    expectPixel(painted, 4, 5, kClear, 0);
    expectPixel(painted, 3, 0, kClear, 0);
}

TEST_P(Painting, AMatteOverStackedPicturesActsOnTheirStack) {
    const Picture stack = flat(4, 4, kRed).cropped({0, 0, 2, 4}).over(flat(4, 4, kBlue));
    const Buffer painted = paint(stack.blendedWithMatte(flat(4, 4, {0, 0, 0, 128})), 4, 4);
    expectPixel(painted, 0, 0, {0, 0, 128, 128});
    expectPixel(painted, 3, 0, {128, 0, 0, 128});
}

TEST_P(Painting, FadingScalesAllChannels) {
    const Buffer painted = paint(flat(2, 2, {200, 100, 40, 240}).faded(0.25), 2, 2);
    expectPixel(painted, 0, 0, {50, 25, 10, 60});
    const Picture stack = flat(2, 2, kRed).over(flat(2, 2, kBlue)).faded(0.5);
    expectPixel(paint(stack, 2, 2), 1, 1, {0, 0, 128, 128});
}

TEST_P(Painting, NoFringesAtTheEdgesOfMagnifiedShapes) {
    const Picture source(filled(16, 16, [](int x, int y) {
        return (x - 8) * (x - 8) + (y - 8) * (y - 8) < 36 ? Bgra{255, 255, 255, 255} : kClear;
    }));
    const Buffer painted = paint(source.transformed(AffineTransform::scaling(3.3)), 50, 50);
    for (int y = 0; y < 50; ++y) {
        for (int x = 0; x < 50; ++x) {
            const std::uint8_t* pixel = painted.pixel(x, y);
            for (int i = 0; i < 3; ++i) ASSERT_NEAR(pixel[i], pixel[3], 1) << x << "," << y;
        }
    }
}

TEST_P(Painting, GlidingMovesBrightnessSmoothly) {
    // A white line of one pixel that moves by a hundredth of a pixel a step: its centre of mass moves along exactly.
    const Picture line(filled(21, 3, [](int x, int) {
        return x == 10 ? Bgra{255, 255, 255, 255} : Bgra{0, 0, 0, 255};
    }));
    for (int step = 0; step <= 100; ++step) {
        const double offset = step * 0.01;
        const Buffer painted = paint(line.transformed({1.6, 1.6, offset, 0}), 40, 4);
        double sum = 0;
        double moment = 0;
        for (int x = 0; x < 40; ++x) {
            sum += painted.pixel(x, 2)[1];
            moment += painted.pixel(x, 2)[1] * (x + 0.5);
        }
        ASSERT_NEAR(moment / sum, 10.5 * 1.6 + offset, 0.03) << step;
    }
}

TEST_P(Painting, DecodedPicturesAreCopiedSampleBySample) {
    for (const int size : {1, 2, 5, 16, 31, 66}) {
        YuvSamples source(size, size);
        for (std::size_t i = 0; i < source.luma.size(); ++i) source.luma[i] = static_cast<std::uint8_t>(i * 7 % 256);
        for (std::size_t i = 0; i < source.cb.size(); ++i) {
            source.cb[i] = static_cast<std::uint8_t>(i * 13 % 256);
            source.cr[i] = static_cast<std::uint8_t>(i * 29 % 256);
        }
        const YuvSamples painted = paintYuv(source.picture(), size, size);
        EXPECT_EQ(painted.luma, source.luma) << size;
        EXPECT_EQ(painted.cb, source.cb) << size;
        EXPECT_EQ(painted.cr, source.cr) << size;
    }
}

TEST_P(Painting, FlatColoursSurviveEveryEncodingBothWays) {
    for (const YuvMatrix matrix : {YuvMatrix::bt601, YuvMatrix::bt709}) {
        for (const YuvRange range : {YuvRange::limited, YuvRange::full}) {
            for (int colour = 0; colour < 64; ++colour) {
                const Bgra bgra{(colour & 3) * 85, (colour / 4 & 3) * 85, (colour / 16) * 85, 255};
                const YuvSamples samples = paintYuv(flat(6, 6, bgra), 6, 6, {matrix, range});
                const Buffer back = paint(samples.picture(), 6, 6);
                for (int i = 0; i < 6; ++i) expectPixel(back, i, 5 - i, bgra, 2);
                // And from one encoding to another.
                const YuvSamples other = paintYuv(samples.picture(), 6, 6, {YuvMatrix::bt709, YuvRange::limited});
                const Buffer backAgain = paint(other.picture(), 6, 6);
                expectPixel(backAgain, 0, 0, bgra, 3);
                expectPixel(backAgain, 5, 5, bgra, 3);
            }
        }
    }
}

TEST_P(Painting, KnownColoursHaveTheirKnownSamples) {
    // BT.709 limited, from the standard's formulas: white 235, 128, 128; red 63, 102, 240; blue 32, 240, 118.
    const auto samplesOf = [&](const Bgra& colour) { return paintYuv(flat(2, 2, colour), 2, 2); };
    const YuvSamples white = samplesOf({255, 255, 255, 255});
    EXPECT_EQ(white.luma[0], 235);
    EXPECT_EQ(white.cb[0], 128);
    EXPECT_EQ(white.cr[0], 128);
    const YuvSamples red = samplesOf(kRed);
    EXPECT_NEAR(red.luma[0], 63, 1);
    EXPECT_NEAR(red.cb[0], 102, 1);
    EXPECT_NEAR(red.cr[0], 240, 1);
    const YuvSamples blue = samplesOf(kBlue);
    EXPECT_NEAR(blue.luma[0], 32, 1);
    EXPECT_NEAR(blue.cb[0], 240, 1);
    EXPECT_NEAR(blue.cr[0], 118, 1);
}

template <int Threads>
void paintFast(const Picture& picture, Buffer& destination) {
    Painter(Threads).paint(picture, destination);
}

template <int Threads>
void paintFast(const Picture& picture, const YuvDestination& destination) {
    Painter(Threads).paint(picture, destination);
}

INSTANTIATE_TEST_SUITE_P(Painters, Painting,
                         testing::Values(PainterUnderTest{"reference", paintReference, paintReference},
                                         PainterUnderTest{"fast", paintFast<1>, paintFast<1>},
                                         PainterUnderTest{"fastThreaded", paintFast<3>, paintFast<3>}),
                         [](const auto& painter) { return painter.param.name; });

}  // namespace
}  // namespace lumivastor::imaging
