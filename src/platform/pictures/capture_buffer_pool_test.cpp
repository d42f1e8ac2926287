// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/capture_buffer_pool.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <random>

namespace lumivastor::platform {
namespace {

constexpr PixelSize kSize{40, 30};

imaging::DamageArea everything() {
    imaging::DamageArea all;
    all.add({0, 0, kSize.width, kSize.height});
    return all;
}

void fill(imaging::BgraPremultipliedBuffer& buffer, const PixelRect& rect, std::uint32_t value) {
    for (int y = rect.y; y < rect.maxY(); ++y) {
        for (int x = rect.x; x < rect.maxX(); ++x) std::memcpy(buffer.pixel(x, y), &value, 4);
    }
}

std::uint32_t at(const imaging::BgraPremultipliedBuffer& buffer, int x, int y) {
    std::uint32_t value = 0;
    std::memcpy(&value, buffer.pixel(x, y), 4);
    return value;
}

TEST(CaptureBufferPool, BeginsBlackAndOpaque) {
    CaptureBufferPool pool(kSize, 2);
    EXPECT_EQ(pool.last(), nullptr);
    const auto picture = pool.take({}, [](imaging::BgraPremultipliedBuffer&) { return true; });
    EXPECT_EQ(at(*picture, 39, 29), 0xff000000U);
}

TEST(CaptureBufferPool, LetsOnlySoManyPicturesOut) {
    CaptureBufferPool pool(kSize, 2);
    std::uint32_t value = 0xff000000;
    const auto paint = [&value](imaging::BgraPremultipliedBuffer& buffer) {
        fill(buffer, {0, 0, kSize.width, kSize.height}, ++value);
        return true;
    };
    auto first = pool.take(everything(), paint);
    EXPECT_TRUE(pool.canTake());
    auto second = pool.take(everything(), paint);
    EXPECT_FALSE(pool.canTake());
    first.reset();
    EXPECT_TRUE(pool.canTake());
    second.reset();
    EXPECT_TRUE(pool.canTake());
    EXPECT_NE(pool.last(), nullptr);
}

TEST(CaptureBufferPool, KeepsPicturesThatOutliveIt) {
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture;
    {
        CaptureBufferPool pool(kSize, 1);
        picture = pool.take(everything(), [](imaging::BgraPremultipliedBuffer& buffer) {
            fill(buffer, {0, 0, 40, 30}, 0xff112233);
            return true;
        });
    }
    EXPECT_EQ(at(*picture, 20, 20), 0xff112233U);
}

TEST(CaptureBufferPool, PaintingTheSameAgainTakesNoPicture) {
    CaptureBufferPool pool(kSize, 2);
    int paintings = 0;
    const auto paint = [&](std::uint32_t corner) {
        return [&paintings, corner](imaging::BgraPremultipliedBuffer& buffer) {
            ++paintings;
            fill(buffer, {0, 0, 40, 30}, 0xff112233);
            fill(buffer, {39, 29, 1, 1}, corner);
            return true;
        };
    };
    const auto first = pool.take(everything(), paint(0xff112233));
    for (int i = 0; i < 5; ++i) EXPECT_EQ(pool.take(everything(), paint(0xff112233)), first);
    EXPECT_EQ(paintings, 6);
    EXPECT_TRUE(pool.canTake()) << "the buffers are free again";
    const auto second = pool.take(everything(), paint(0xff112234));
    EXPECT_NE(second, first) << "one pixel differs";
    EXPECT_EQ(at(*second, 39, 29), 0xff112234U);
    EXPECT_EQ(pool.last(), second);
}

TEST(CaptureBufferPool, OnlyThePaintedPartIsCompared) {
    CaptureBufferPool pool(kSize, 3);
    const auto paint = [](const PixelRect& rect, std::uint32_t value) {
        return [=](imaging::BgraPremultipliedBuffer& buffer) {
            fill(buffer, rect, value);
            return true;
        };
    };
    const PixelRect left{0, 0, 10, 30};
    const PixelRect right{30, 0, 10, 30};
    imaging::DamageArea both;
    both.add(left);
    both.add(right);
    const auto first = pool.take(everything(), paint({0, 0, 40, 30}, 0xff000001));
    imaging::DamageArea one;
    one.add(left);
    const auto second = pool.take(one, paint(left, 0xff000002));
    EXPECT_EQ(pool.take(one, paint(left, 0xff000002)), second);
    const auto third = pool.take(both, [&](imaging::BgraPremultipliedBuffer& buffer) {
        fill(buffer, left, 0xff000002);
        fill(buffer, right, 0xff000003);
        return true;
    });
    EXPECT_NE(third, second) << "the second of two parts differs";
    EXPECT_EQ(at(*third, 0, 0), 0xff000002U);
    EXPECT_EQ(at(*third, 20, 10), 0xff000001U);
    EXPECT_EQ(at(*third, 35, 10), 0xff000003U);
}

TEST(CaptureBufferPool, KeepsTheLastPictureWhenPaintingFails) {
    CaptureBufferPool pool(kSize, 2);
    pool.take(everything(), [](imaging::BgraPremultipliedBuffer& buffer) {
        fill(buffer, {0, 0, 40, 30}, 0xff010203);
        return true;
    });
    EXPECT_EQ(pool.take(everything(),
                        [](imaging::BgraPremultipliedBuffer& buffer) {
                            fill(buffer, {0, 0, 20, 30}, 0xffffffff);
                            return false;
                        }),
              nullptr);
    EXPECT_EQ(at(*pool.last(), 3, 3), 0xff010203U);
    const auto next = pool.take({}, [](imaging::BgraPremultipliedBuffer&) { return true; });
    EXPECT_EQ(at(*next, 3, 3), 0xff010203U);
}

TEST(CaptureBufferPool, EveryPictureIsWholeHoweverLongBuffersStayOut) {
    std::mt19937 random(3);
    CaptureBufferPool pool(kSize, 4);
    imaging::BgraPremultipliedBuffer screen(kSize.width, kSize.height);
    fill(screen, {0, 0, kSize.width, kSize.height}, 0xff000000);
    std::deque<std::shared_ptr<const imaging::BgraPremultipliedBuffer>> out;
    imaging::DamageArea damage = everything();
    for (std::uint32_t step = 1; step < 500; ++step) {
        const auto pick = [&](int maximum) { return static_cast<int>(random() % static_cast<unsigned>(maximum)); };
        for (int i = pick(3); i >= 0; --i) {
            const PixelRect rect{pick(30), pick(20), 1 + pick(10), 1 + pick(10)};
            fill(screen, rect, 0xff000000 | step);
            damage.add(rect);
        }
        while (!pool.canTake() || (!out.empty() && pick(2) == 0)) {
            out.erase(out.begin() + pick(static_cast<int>(out.size())));
        }
        const auto picture = pool.take(damage, [&](imaging::BgraPremultipliedBuffer& buffer) {
            for (const PixelRect& rect : damage.rects()) {
                for (int y = rect.y; y < rect.maxY(); ++y) {
                    std::memcpy(buffer.pixel(rect.x, y), screen.pixel(rect.x, y),
                                static_cast<std::size_t>(rect.width) * 4);
                }
            }
            return true;
        });
        damage.clear();
        for (int y = 0; y < kSize.height; ++y) {
            ASSERT_EQ(std::memcmp(picture->row(y), screen.row(y), kSize.width * 4U), 0) << "step " << step;
        }
        out.push_back(picture);
    }
}

}  // namespace
}  // namespace lumivastor::platform
