// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/frame_painter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace lumivastor::render {
namespace {

constexpr PixelSize kCanvas{200, 120};

// The pattern of a page, and a small grey shape on it.
class Scene {
  public:
    Scene() {
        imaging::BgraPremultipliedBuffer ground(kCanvas.width, kCanvas.height);
        for (int y = 0; y < kCanvas.height; ++y) {
            for (int x = 0; x < kCanvas.width; ++x) {
                std::uint8_t* const pixel = ground.pixel(x, y);
                pixel[0] = static_cast<std::uint8_t>(x);
                pixel[1] = static_cast<std::uint8_t>(2 * y);
                pixel[2] = static_cast<std::uint8_t>((x * 7 + y * 3) % 256);
                pixel[3] = 255;
            }
        }
        imaging::BgraPremultipliedBuffer shape(16, 20);
        for (int y = 0; y < 20; ++y) std::memset(shape.row(y), 128, std::size_t{16} * 4);
        ground_ = imaging::Picture(std::make_shared<const imaging::BgraPremultipliedBuffer>(std::move(ground)));
        shape_ = imaging::Picture(std::make_shared<const imaging::BgraPremultipliedBuffer>(std::move(shape)));
    }

    imaging::Picture at(double x, double y) const {
        return shape_.transformed(imaging::AffineTransform::translation(x, y)).over(ground_);
    }

  private:
    imaging::Picture ground_, shape_;
};

using Buffer = std::shared_ptr<imaging::PlanarBuffer>;

std::vector<std::uint8_t> samplesOf(const imaging::YuvDestination& from) {
    std::vector<std::uint8_t> samples;
    const auto add = [&](const std::uint8_t* plane, std::ptrdiff_t stride, int width, int height) {
        for (int y = 0; y < height; ++y) samples.insert(samples.end(), plane + y * stride, plane + y * stride + width);
    };
    add(from.luma, from.lumaStride, from.width, from.height);
    add(from.cb, from.chromaStride, from.width / 2, from.height / 2);
    add(from.cr, from.chromaStride, from.width / 2, from.height / 2);
    return samples;
}

std::vector<std::uint8_t> painted(const imaging::Picture& frame) {
    imaging::PlanarBuffer buffer(kCanvas.width, kCanvas.height, {});
    imaging::Painter(1).paint(frame, buffer.destination());
    return samplesOf(buffer.destination());
}

TEST(FramePainter, FramesInReusedBuffersAreWhole) {
    const Scene scene;
    imaging::PicturePool pool(kCanvas.width, kCanvas.height, {});
    FramePainter painter(kCanvas);
    // An encoder that keeps as many pictures as it likes, and gives them back in any order.
    std::vector<Buffer> held;
    for (int i = 0; i < 80; ++i) {
        const imaging::Picture frame = scene.at(90 + 80 * std::sin(i * 0.2), 50 + 45 * std::cos(i * 0.31));
        const imaging::KnownDamage damage = painter.differenceFromLast(frame);
        EXPECT_EQ(damage.has_value(), i > 0);
        const Buffer buffer = painter.paint(frame, damage, pool);
        ASSERT_EQ(samplesOf(buffer->destination()), painted(frame)) << i;
        EXPECT_EQ(buffer->number, static_cast<std::uint64_t>(i) + 1);
        held.push_back(buffer);
        if (held.size() > static_cast<std::size_t>(i % 5))
            held.erase(held.begin() + i % 3 % static_cast<int>(held.size()));
    }
}

TEST(FramePainter, OnlyWhatChangedIsPainted) {
    const Scene scene;
    imaging::PicturePool pool(kCanvas.width, kCanvas.height, {});
    FramePainter painter(kCanvas);
    {
        const Buffer first = painter.paint(scene.at(20, 20), std::nullopt, pool);
        // Far from the shape, and where it will be.
        first->destination().luma[0] = 1;
        first->destination().luma[90 * first->destination().lumaStride + 40] = 1;
    }
    const imaging::Picture frame = scene.at(30, 20);
    const Buffer second = painter.paint(frame, painter.differenceFromLast(frame), pool);
    std::vector<std::uint8_t> expected = painted(frame);
    ASSERT_NE(expected[0], 1);
    expected[0] = 1;
    EXPECT_EQ(samplesOf(second->destination()), expected);
}

TEST(FramePainter, FramesThatLookTheSameDifferNowhere) {
    const Scene scene;
    imaging::PicturePool pool(kCanvas.width, kCanvas.height, {});
    FramePainter painter(kCanvas);
    painter.paint(scene.at(20, 20), std::nullopt, pool);
    EXPECT_TRUE(painter.differenceFromLast(scene.at(20, 20)).value().isEmpty());
    // Beside the canvas.
    const imaging::Picture away = scene.at(-50, 20);
    painter.paint(away, painter.differenceFromLast(away), pool);
    const imaging::Picture further = scene.at(-60, 20);
    EXPECT_TRUE(painter.differenceFromLast(further).value().isEmpty());
    painter.repeat(further);
    EXPECT_FALSE(painter.differenceFromLast(scene.at(10, 10)).value().isEmpty());
}

}  // namespace
}  // namespace lumivastor::render
