// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/painter.h"

#include <gtest/gtest.h>

#include <hwy/highway.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "imaging/painting/prepared_layers.h"
#include "imaging/painting/reference_painter.h"
#include "support/golden_picture.h"

// The fast painter against the reference, and against itself with other numbers of threads.

namespace lumivastor::imaging {
namespace {

using Buffer = BgraPremultipliedBuffer;

// The tolerance that painter.h promises.
constexpr int kTolerance = 2;
// Of studio frames, whose layers are few.
constexpr int kFrameTolerance = 1;

class RandomRecipes {
  public:
    explicit RandomRecipes(unsigned seed) : random_(seed) {}

    int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
    double real(double low, double high) { return std::uniform_real_distribution<double>(low, high)(random_); }

    std::shared_ptr<const Buffer> buffer(int width, int height) {
        auto pixels = std::make_shared<Buffer>(width, height);
        const int look = between(0, 3);  // opaque noise, shape on nothing, smooth and half clear, opaque and smooth
        const double phase = real(0, 6);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const double wave = 0.5 + 0.5 * std::sin(phase + x * 0.3 + y * 0.2);
                const bool inside = std::hypot(x - width * 0.5, y - height * 0.5) < width * 0.4;
                const int alpha = look == 1 ? (inside ? 255 : 0) : look == 2 ? static_cast<int>(255 * wave) : 255;
                std::uint8_t* pixel = pixels->pixel(x, y);
                pixel[3] = static_cast<std::uint8_t>(alpha);
                for (int i = 0; i < 3; ++i) {
                    pixel[i] = static_cast<std::uint8_t>(look == 0 ? between(0, alpha) : wave * alpha * (i + 1) / 3);
                }
            }
        }
        return pixels;
    }

    Picture yuv(int width, int height) {
        struct Samples {
            std::vector<std::uint8_t> all;
        };
        auto samples = std::make_shared<Samples>();
        const int half = (width + 1) / 2;
        const int halfHeight = (height + 1) / 2;
        samples->all.resize(static_cast<std::size_t>(width * height + 2 * half * halfHeight));
        const bool noise = between(0, 1) == 0;
        for (std::size_t i = 0; i < samples->all.size(); ++i) {
            samples->all[i] = static_cast<std::uint8_t>(noise ? between(16, 235) : 60 + static_cast<int>(i % 7) * 20);
        }
        std::uint8_t* at = samples->all.data();
        const YuvEncoding encoding{between(0, 2) == 0 ? YuvMatrix::bt601 : YuvMatrix::bt709,
                                   between(0, 2) == 0 ? YuvRange::full : YuvRange::limited};
        return Picture(YuvPicture{width,
                                  height,
                                  {at, width},
                                  {at + width * height, half},
                                  {at + width * height + half * halfHeight, half},
                                  encoding,
                                  samples});
    }

    double scale() {
        switch (between(0, 5)) {
            case 0:
                return 1;
            case 1:
                return real(0.05, 0.4);
            case 2:
                return real(0.4, 1);
            case 3:
                return real(3, 12);
            default:
                return real(1, 3);
        }
    }

    Rect rect(double size) {
        const bool whole = between(0, 1) == 0;
        Rect rect{real(-size / 4, size), real(-size / 4, size), real(1, size), real(1, size)};
        if (whole) rect = integral(rect);
        return rect;
    }

    Picture picture(int depth) {
        if (depth == 0) {
            const int width = between(1, 60);
            const int height = between(1, 60);
            return between(0, 1) == 0 ? Picture(buffer(width, height)) : yuv(width, height);
        }
        const Picture input = picture(depth - 1);
        switch (between(0, 7)) {
            case 0: {
                const double size = scale();
                const double other = between(0, 3) == 0 ? scale() : size;
                const bool whole = between(0, 2) == 0;
                const double x = whole ? between(-20, 40) : real(-20, 40);
                const double y = whole ? between(-20, 40) : real(-20, 40);
                return input.transformed({size, other, x, y});
            }
            case 1:
                return input.cropped(rect(40));
            case 2:
                return input.over(picture(depth - 1));
            case 3:
                return input.clampedToExtent();
            case 4:
                return masked(input, between(1, 4)).over(input);
            case 5:
                return input.blendedWithMatte(picture(depth - 1));
            case 6:
                return input.faded(real(0, 1));
            default:
                return input.transformed(AffineTransform::translation(between(-9, 9), between(-9, 9)));
        }
    }

    // With areas in squares, most of which overlap; of the picture the part that ends at whole pixels.
    Picture masked(const Picture& picture, int areas) {
        const Rect extent = picture.extent();
        const double left = std::ceil(extent.minX());
        const double bottom = std::ceil(extent.minY());
        const Rect inside{left, bottom, std::floor(extent.maxX()) - left, std::floor(extent.maxY()) - bottom};
        if (inside.isEmpty()) return picture;
        std::vector<Rect> rects;
        for (int i = 0; i < areas; ++i) rects.push_back(integral(rect(30)));
        const Picture whole = isInfinite(extent) ? picture : picture.cropped(inside);
        return whole.pixellated(rects, between(1, 12));
    }

  private:
    std::mt19937 random_;
};

struct YuvSamples {
    std::vector<std::uint8_t> luma, cb, cr;

    void prepare(int width, int height) {
        luma.assign(static_cast<std::size_t>(width * height), 0x55);
        cb.assign(static_cast<std::size_t>((width + 1) / 2 * ((height + 1) / 2)), 0x55);
        cr = cb;
    }
    YuvDestination destination(int width, int height, YuvEncoding encoding) {
        return {width, height, luma.data(), width, cb.data(), cr.data(), (width + 1) / 2, encoding};
    }
};

int worst(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    int maximum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) maximum = std::max(maximum, std::abs(a[i] - b[i]));
    return maximum;
}

int worst(const Buffer& a, const Buffer& b) {
    int maximum = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int i = 0; i < a.width() * 4; ++i) maximum = std::max(maximum, std::abs(a.row(y)[i] - b.row(y)[i]));
    }
    return maximum;
}

TEST(Painter, RandomRecipesAgreeWithTheReference) {
    Painter painter(1);
    for (unsigned seed = 0; seed < 150; ++seed) {
        RandomRecipes recipes(seed);
        const Picture picture = recipes.picture(recipes.between(1, 4));
        const int width = recipes.between(1, 50);
        const int height = recipes.between(1, 50);
        Buffer fast(width, height);
        Buffer reference(width, height);
        painter.paint(picture, fast);
        paintReference(picture, reference);
        EXPECT_LE(worst(fast, reference), kTolerance) << "seed " << seed;
        const YuvEncoding encoding{seed % 5 == 0 ? YuvMatrix::bt601 : YuvMatrix::bt709,
                                   seed % 3 == 0 ? YuvRange::full : YuvRange::limited};
        YuvSamples fastSamples;
        YuvSamples referenceSamples;
        fastSamples.prepare(width, height);
        referenceSamples.prepare(width, height);
        painter.paint(picture, fastSamples.destination(width, height, encoding));
        paintReference(picture, referenceSamples.destination(width, height, encoding));
        EXPECT_LE(worst(fastSamples.luma, referenceSamples.luma), kTolerance) << "luma, seed " << seed;
        EXPECT_LE(worst(fastSamples.cb, referenceSamples.cb), kTolerance) << "blue difference, seed " << seed;
        EXPECT_LE(worst(fastSamples.cr, referenceSamples.cr), kTolerance) << "red difference, seed " << seed;
    }
}

constexpr RgbColour kTone{0.3, 0.4, 0.7};

// A whole frame as the compositor stacks it, over several tiles and bands.
Picture studioFrame(RandomRecipes& recipes, int width, int height, double zoom, const Picture& content = {}) {
    const Rect screen{width * 0.1, height * 0.12, width * 0.8, height * 0.76};
    const AffineTransform camera =
        zoom == 1 ? AffineTransform{} : AffineTransform{zoom, zoom, -width * 0.21, -height * 0.33};
    const auto layer = [](Buffer buffer) { return Picture(std::make_shared<const Buffer>(std::move(buffer))); };
    const Picture base = layer(makeRoundedShadow(width, height, screen, 14, kScreenShadow))
                             .transformed(camera)
                             .over(Picture(std::make_shared<const StudioBackground>(width, height, kTone)));
    const int sourceWidth = width;
    Picture source = content.isEmpty() ? recipes.yuv(sourceWidth, height) : content;
    const Rect mask{20, 30, 60, 40};
    source = source.pixellated({mask}, 12);
    const Picture placed =
        source.cropped({0, 0, double(sourceWidth), double(height)})
            .transformed(AffineTransform::scaling(screen.width / sourceWidth, screen.height / height))
            .transformed(AffineTransform::translation(screen.x, screen.y))
            .transformed(camera);
    const Picture matte = layer(makeRoundedMatte(width, height, screen, 14)).transformed(camera);
    const Picture ring = layer(makeRing()).transformed({0.3, 0.3, width * 0.4, height * 0.4}).faded(0.6);
    const Rect bubble{width * 0.7, height * 0.05, height * 0.25, height * 0.25};
    const Picture webcam = recipes.yuv(64, 48)
                               .transformed({bubble.height / 48, bubble.height / 48, bubble.x - 3, bubble.y})
                               .blendedWithMatte(layer(makeEllipseMatte(width, height, bubble)));
    const Picture framed = placed.blendedWithMatte(matte).over(base);
    const Picture bubbled = webcam.over(ring.over(framed));
    return layer(makeBubbleBorder(width, height, bubble)).over(bubbled);
}

TEST(Painter, WholeFramesAgreeWithTheReference) {
    Painter painter(2);
    for (const double zoom : {1.0, 1.37, 2.6}) {
        RandomRecipes recipes(7);
        constexpr int kWidth = 163;
        constexpr int kHeight = 91;
        const Picture frame = studioFrame(recipes, kWidth, kHeight, zoom);
        Buffer fast(kWidth, kHeight);
        Buffer reference(kWidth, kHeight);
        painter.paint(frame, fast);
        paintReference(frame, reference);
        EXPECT_LE(worst(fast, reference), kFrameTolerance) << zoom;
        YuvSamples fastSamples;
        YuvSamples referenceSamples;
        fastSamples.prepare(kWidth, kHeight);
        referenceSamples.prepare(kWidth, kHeight);
        painter.paint(frame, fastSamples.destination(kWidth, kHeight, {}));
        paintReference(frame, referenceSamples.destination(kWidth, kHeight, {}));
        EXPECT_LE(worst(fastSamples.luma, referenceSamples.luma), kFrameTolerance) << zoom;
        EXPECT_LE(worst(fastSamples.cb, referenceSamples.cb), kFrameTolerance) << zoom;
        EXPECT_LE(worst(fastSamples.cr, referenceSamples.cr), kFrameTolerance) << zoom;
    }
}

TEST(Painter, GoldenFrames) {
    // Lines of strokes of all widths on a light ground, like text.
    auto content = std::make_shared<Buffer>(192, 108);
    for (int y = 0; y < 108; ++y) {
        for (int x = 0; x < 192; ++x) {
            const bool stroke = y % 9 < 5 && x * 7 % 23 < 6 && x < 150 - y;
            std::uint8_t* pixel = content->pixel(x, y);
            pixel[0] = stroke ? 60 : 250;
            pixel[1] = stroke ? 40 : 246;
            pixel[2] = stroke ? 30 : 240;
            pixel[3] = 255;
        }
    }
    for (const int percent : {100, 160}) {
        RandomRecipes recipes(21);
        Buffer painted(192, 108);
        Painter(1).paint(studioFrame(recipes, 192, 108, percent / 100.0, Picture(content)), painted);
        const std::string name = "frame_" + std::to_string(percent) + ".png";
        expectGolden(painted, std::filesystem::path(LUMI_IMAGING_TESTDATA) / name);
    }
}

TEST(Painter, LayersThatCameFromTheCacheLookTheSame) {
    RandomRecipes recipes(5);
    const Picture frame = studioFrame(recipes, 130, 70, 1);
    Painter painter(1);
    YuvSamples first;
    YuvSamples again;
    first.prepare(130, 70);
    again.prepare(130, 70);
    painter.paint(frame, first.destination(130, 70, {}));
    for (int i = 0; i < 5; ++i) painter.paint(frame, again.destination(130, 70, {}));
    EXPECT_EQ(first.luma, again.luma);
    EXPECT_EQ(first.cb, again.cb);
    EXPECT_EQ(first.cr, again.cr);
    // Another encoding and another size must not get what was converted for these.
    YuvSamples full;
    YuvSamples reference;
    full.prepare(130, 70);
    reference.prepare(130, 70);
    const YuvEncoding encoding{YuvMatrix::bt601, YuvRange::full};
    painter.paint(frame, full.destination(130, 70, encoding));
    paintReference(frame, reference.destination(130, 70, encoding));
    EXPECT_LE(worst(full.luma, reference.luma), kFrameTolerance);
    EXPECT_LE(worst(full.cr, reference.cr), kFrameTolerance);
}

TEST(Painter, EveryNumberOfThreadsPaintsTheSamePixels) {
    RandomRecipes recipes(3);
    constexpr int kWidth = 645;
    constexpr int kHeight = 403;
    const Picture frame = studioFrame(recipes, kWidth, kHeight, 1.6);
    Buffer one(kWidth, kHeight);
    YuvSamples oneSamples;
    oneSamples.prepare(kWidth, kHeight);
    Painter single(1);
    single.paint(frame, one);
    single.paint(frame, oneSamples.destination(kWidth, kHeight, {}));
    for (const int threads : {2, 3, 8}) {
        Painter painter(threads);
        for (int again = 0; again < 3; ++again) {
            Buffer many(kWidth, kHeight);
            YuvSamples samples;
            samples.prepare(kWidth, kHeight);
            painter.paint(frame, many);
            painter.paint(frame, samples.destination(kWidth, kHeight, {}));
            ASSERT_EQ(worst(one, many), 0) << threads;
            ASSERT_EQ(samples.luma, oneSamples.luma) << threads;
            ASSERT_EQ(samples.cb, oneSamples.cb) << threads;
            ASSERT_EQ(samples.cr, oneSamples.cr) << threads;
        }
    }
}

TEST(Painter, EveryInstructionSetPaintsTheSamePixels) {
    constexpr int kWidth = 1100;
    constexpr int kHeight = 203;
    for (const double zoom : {1.0, 1.37, 2.6}) {
        std::vector<YuvSamples> planar;
        std::vector<Buffer> pixels;
        for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
            hwy::SetSupportedTargetsForTest(target);
            RandomRecipes recipes(3);
            const Picture frame = studioFrame(recipes, kWidth, kHeight, zoom);
            YuvSamples samples;
            samples.prepare(kWidth, kHeight);
            Buffer buffer(kWidth, kHeight);
            Painter painter(2);
            painter.paint(frame, samples.destination(kWidth, kHeight, {}));
            painter.paint(frame, buffer);
            hwy::SetSupportedTargetsForTest(0);
            planar.push_back(std::move(samples));
            pixels.push_back(std::move(buffer));
            EXPECT_EQ(planar.back().luma, planar.front().luma) << hwy::TargetName(target) << ", zoom " << zoom;
            EXPECT_EQ(planar.back().cb, planar.front().cb) << hwy::TargetName(target) << ", zoom " << zoom;
            EXPECT_EQ(planar.back().cr, planar.front().cr) << hwy::TargetName(target) << ", zoom " << zoom;
            EXPECT_EQ(worst(pixels.back(), pixels.front()), 0) << hwy::TargetName(target) << ", zoom " << zoom;
        }
    }
}

TEST(Painter, OverlappingMasksAgreeWithTheReferenceOnEveryNumberOfThreads) {
    Painter one(1);
    Painter three(3);
    for (unsigned seed = 0; seed < 60; ++seed) {
        RandomRecipes recipes(seed);
        const int width = recipes.between(20, 60);
        const int height = recipes.between(20, 60);
        const Picture source = seed % 2 == 0 ? recipes.yuv(width, height) : Picture(recipes.buffer(width, height));
        const double scale = seed % 3 == 0 ? 1 : recipes.scale();
        // As the compositor shows it: cropped, placed, clamped.
        const Picture picture = recipes.masked(source, recipes.between(2, 12))
                                    .cropped({3, 2, width - 5.0, height - 4.0})
                                    .transformed({scale, scale, recipes.real(-5, 5), recipes.real(-5, 5)})
                                    .clampedToExtent()
                                    .cropped({1, 1, 40, 40});
        Buffer reference(45, 43);
        YuvSamples referenceSamples;
        referenceSamples.prepare(45, 43);
        paintReference(picture, reference);
        paintReference(picture, referenceSamples.destination(45, 43, {}));
        for (Painter* painter : {&one, &three}) {
            Buffer fast(45, 43);
            YuvSamples samples;
            samples.prepare(45, 43);
            painter->paint(picture, fast);
            painter->paint(picture, samples.destination(45, 43, {}));
            EXPECT_LE(worst(fast, reference), kTolerance) << "seed " << seed;
            EXPECT_LE(worst(samples.luma, referenceSamples.luma), kTolerance) << "luma, seed " << seed;
            EXPECT_LE(worst(samples.cb, referenceSamples.cb), kTolerance) << "seed " << seed;
            EXPECT_LE(worst(samples.cr, referenceSamples.cr), kTolerance) << "seed " << seed;
        }
    }
}

// The work for a frame whose masks lie over each other, each a little further.
Painter::Work workFor(int masks, bool planar) {
    std::vector<Rect> areas;
    for (int i = 0; i < masks; ++i) areas.push_back({double(i % 7), double(i % 5), 120, 60});
    RandomRecipes recipes(1);
    const Picture picture = recipes.yuv(160, 90).pixellated(areas, 12);
    Painter painter(2);
    if (planar) {
        YuvSamples samples;
        samples.prepare(160, 90);
        painter.paint(picture, samples.destination(160, 90, {}));
    } else {
        Buffer pixels(160, 90);
        painter.paint(picture, pixels);
    }
    return painter.lastWork();
}

TEST(Painter, EveryOverlappingMaskAddsItsOwnWorkOnly) {
    for (const bool planar : {false, true}) {
        const Painter::Work one = workFor(1, planar);
        // 10 x 5 squares, averaged once for all grids.
        EXPECT_EQ(one.squares, 50u);
        const std::size_t grids = planar ? 2 : 1;
        for (const int masks : {2, 3, 16, 32, 1000}) {
            const Painter::Work many = workFor(masks, planar);
            EXPECT_EQ(many.squares, 50u * static_cast<std::size_t>(masks));
            EXPECT_EQ(many.layers, one.layers + grids * static_cast<std::size_t>(masks - 1));
        }
    }
}

TEST(Painter, NothingIsWrittenBesideTheDestination) {
    RandomRecipes recipes(11);
    constexpr int kWidth = 37;
    constexpr int kHeight = 21;
    constexpr int kStride = 48;
    const Picture frame = studioFrame(recipes, kWidth, kHeight, 1.6);
    std::vector<std::uint8_t> luma(kStride * kHeight, 0xa5);
    std::vector<std::uint8_t> blue(kStride * 11, 0xa5);
    std::vector<std::uint8_t> red(kStride * 11, 0xa5);
    Painter(1).paint(frame, {kWidth, kHeight, luma.data(), kStride, blue.data(), red.data(), kStride, {}});
    for (int y = 0; y < kHeight; ++y) {
        for (int x = kWidth; x < kStride; ++x) ASSERT_EQ(luma[static_cast<std::size_t>(y * kStride + x)], 0xa5);
    }
    for (int y = 0; y < 11; ++y) {
        for (int x = 19; x < kStride; ++x) {
            ASSERT_EQ(blue[static_cast<std::size_t>(y * kStride + x)], 0xa5);
            ASSERT_EQ(red[static_cast<std::size_t>(y * kStride + x)], 0xa5);
        }
    }
}

}  // namespace
}  // namespace lumivastor::imaging
