// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/picture_changes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <vector>

#include "support/h264_decoders.h"

namespace lumivastor::media {
namespace {

PlainPicture noise(std::mt19937& random, int width, int height) {
    PlainPicture picture(width, height);
    for (auto& sample : picture.samples) sample = static_cast<std::uint8_t>(random());
    return picture;
}

// Sample by sample.
MacroblockMap plainChanges(const PlainPicture& a, const PlainPicture& b) {
    const int columns = (a.width + 15) / 16;
    MacroblockMap changed(static_cast<std::size_t>(columns * ((a.height + 15) / 16)));
    for (int plane = 0; plane < 3; ++plane) {
        const int size = plane == 0 ? 16 : 8;
        for (int y = 0; y < a.planeHeight(plane); ++y) {
            for (int x = 0; x < a.planeWidth(plane); ++x) {
                if (a.row(plane, y)[x] != b.row(plane, y)[x]) {
                    changed[static_cast<std::size_t>(y / size * columns + x / size)] = 1;
                }
            }
        }
    }
    return changed;
}

TEST(PictureChanges, MarksWhatDiffersAndNothingElse) {
    std::mt19937 random(21);
    for (int round = 0; round < 300; ++round) {
        const int width = 1 + static_cast<int>(random() % 90);
        const int height = 1 + static_cast<int>(random() % 70);
        const PlainPicture before = noise(random, width, height);
        PlainPicture picture = before;
        for (auto i = random() % 5; i > 0; --i) picture.samples[random() % picture.samples.size()] ^= 1;
        MacroblockMap changed;
        const int count = markChanges(picture.view(), before.view(), std::nullopt, changed);
        const MacroblockMap expected = plainChanges(picture, before);
        ASSERT_EQ(changed, expected) << width << " x " << height;
        EXPECT_EQ(count, std::count(expected.begin(), expected.end(), 1));
        const int columns = (width + 15) / 16;
        for (std::size_t mb = 0; mb < changed.size(); ++mb) {
            const int at = static_cast<int>(mb);
            EXPECT_EQ(isSame(picture.view(), before.view(), at % columns, at / columns), changed[mb] == 0);
        }
    }
}

TEST(PictureChanges, WithDamageLooksThereAlone) {
    std::mt19937 random(22);
    for (int round = 0; round < 300; ++round) {
        const int width = 20 + static_cast<int>(random() % 90);
        const int height = 20 + static_cast<int>(random() % 70);
        const PlainPicture before = noise(random, width, height);
        PlainPicture picture = before;
        imaging::DamageArea damage;
        for (auto i = random() % 4; i > 0; --i) {
            PixelRect rect{static_cast<int>(random() % 120) - 10, static_cast<int>(random() % 100) - 10,
                           static_cast<int>(random() % 30), static_cast<int>(random() % 30)};
            damage.add(rect);
            for (int y = std::max(0, rect.y); y < std::min(height, rect.y + rect.height); ++y) {
                for (int x = std::max(0, rect.x); x < std::min(width, rect.x + rect.width); ++x) {
                    picture.row(0, y)[x] = static_cast<std::uint8_t>(random());
                    picture.row(1, y / 2)[x / 2] = static_cast<std::uint8_t>(random());
                }
            }
        }
        MacroblockMap changed;
        markChanges(picture.view(), before.view(), damage, changed);
        ASSERT_EQ(changed, plainChanges(picture, before));
    }
    const PlainPicture a = noise(random, 32, 32);
    const PlainPicture b = noise(random, 32, 32);
    MacroblockMap changed;
    imaging::DamageArea corner;
    corner.add({0, 0, 1, 1});
    EXPECT_EQ(markChanges(a.view(), b.view(), corner, changed), 1);
    EXPECT_EQ(changed, (MacroblockMap{1, 0, 0, 0}));
}

// Chroma of a scrolled picture as the formula of 8.4.2.2.2 has it.
PlainPicture displaced(const PlainPicture& before, const Displacement& from) {
    PlainPicture picture = before;
    for (int plane = 0; plane < 3; ++plane) {
        const int unit = plane == 0 ? 1 : 2;
        const int fractionX = plane == 0 ? 0 : 4 * (((from.x % 2) + 2) % 2);
        const int fractionY = plane == 0 ? 0 : 4 * (((from.y % 2) + 2) % 2);
        const int offsetX = plane == 0 ? from.x : (from.x - (fractionX != 0 ? 1 : 0)) / 2;
        const int offsetY = plane == 0 ? from.y : (from.y - (fractionY != 0 ? 1 : 0)) / 2;
        const auto at = [&](int x, int y) {
            return static_cast<int>(before.row(
                plane,
                std::clamp(y, 0, before.planeHeight(plane) - 1))[std::clamp(x, 0, before.planeWidth(plane) - 1)]);
        };
        for (int y = 0; y < before.height / unit; ++y) {
            for (int x = 0; x < before.width / unit; ++x) {
                const int left = x + offsetX;
                const int top = y + offsetY;
                picture.row(plane, y)[x] = static_cast<std::uint8_t>(
                    ((8 - fractionX) * (8 - fractionY) * at(left, top) +
                     fractionX * (8 - fractionY) * at(left + 1, top) + (8 - fractionX) * fractionY * at(left, top + 1) +
                     fractionX * fractionY * at(left + 1, top + 1) + 32) >>
                    6);
            }
        }
    }
    return picture;
}

TEST(PictureChanges, AMovedMacroblockIsExactlyThat) {
    std::mt19937 random(23);
    const PlainPicture before = noise(random, 128, 96);
    for (int x = -5; x <= 5; ++x) {
        for (int y = -18; y <= 18; ++y) {
            PlainPicture picture = displaced(before, {x, y});
            ASSERT_EQ(findMove(picture.view(), before.view(), 3, 2, {x, y}), Move::exact) << x << " " << y;
            EXPECT_EQ(findMove(picture.view(), before.view(), 3, 2, {x, y + 2}), Move::none);
            // Noise is not faint.
            picture.row(2, 16 + 7)[24 + 7] ^= 1;
            EXPECT_EQ(findMove(picture.view(), before.view(), 3, 2, {x, y}), Move::none);
        }
    }
    EXPECT_EQ(findMove(before.view(), before.view(), 0, 0, {-1, 0}), Move::none);
    EXPECT_EQ(findMove(before.view(), before.view(), 0, 5, {0, 1}), Move::none);
}

TEST(PictureChanges, FaintColoursMayLieBetweenLines) {
    std::mt19937 random(25);
    PlainPicture before = noise(random, 128, 96);
    const auto tint = [&](unsigned contrast) {
        for (int plane = 1; plane < 3; ++plane) {
            for (int y = 0; y < before.planeHeight(plane); ++y) {
                for (int x = 0; x < before.planeWidth(plane); ++x) {
                    before.row(plane, y)[x] = static_cast<std::uint8_t>(120 + random() % (contrast + 1));
                }
            }
        }
    };
    const auto moved = [&](int lines) {
        PlainPicture picture = displaced(before, {0, lines});
        std::uint8_t& sample = picture.row(1, 16 + 3)[24 + 3];
        sample = static_cast<std::uint8_t>(sample > 124 ? sample - 1 : sample + 1);
        return findMove(picture.view(), before.view(), 3, 2, {0, lines});
    };
    tint(8);
    EXPECT_EQ(moved(3), Move::faint);
    EXPECT_EQ(moved(-5), Move::faint);
    EXPECT_EQ(moved(4), Move::none) << "a decoder would show it exactly";
    tint(60);
    EXPECT_EQ(moved(3), Move::none);
    tint(8);
    PlainPicture picture = displaced(before, {0, 3});
    picture.row(0, 40)[50] ^= 1;
    EXPECT_EQ(findMove(picture.view(), before.view(), 3, 2, {0, 3}), Move::none) << "luma is never faint";
}

TEST(PictureChanges, FindsHowFarAPageWasScrolled) {
    std::mt19937 random(24);
    const PlainPicture before = noise(random, 320, 480);
    for (const int lines : {1, -2, 17, -40, 160, -300}) {
        const PlainPicture picture = displaced(before, {0, lines});
        MacroblockMap changed;
        markChanges(picture.view(), before.view(), std::nullopt, changed);
        EXPECT_EQ(findScroll(picture.view(), before.view(), changed, 400), (Displacement{0, lines}));
        EXPECT_EQ(findScroll(picture.view(), before.view(), changed, std::abs(lines) - 1), std::nullopt);
    }
    const PlainPicture other = noise(random, 320, 480);
    MacroblockMap changed;
    markChanges(other.view(), before.view(), std::nullopt, changed);
    EXPECT_FALSE(findScroll(other.view(), before.view(), changed, 400));
    EXPECT_FALSE(findScroll(before.view(), before.view(), MacroblockMap(600, 0), 400));
}

// Between two margins lines of a text that come again, except in rows of which none is among those that are asked
// first.
TEST(PictureChanges, APageThatRepeatsItselfIsFoundWhereAllOfItFits) {
    std::mt19937 random(26);
    PlainPicture before = noise(random, 320, 480);
    for (int y = 24; y < 26 * 16; ++y) std::copy_n(before.row(0, y % 24), 320, before.row(0, y));
    for (int y = 0; y < 480; ++y) {
        if (y < 2 * 16 || y >= 28 * 16) std::fill_n(before.row(0, y), 320, std::uint8_t{200});
    }
    for (int plane = 1; plane < 3; ++plane) {
        for (int y = 0; y < 240; ++y) std::fill_n(before.row(plane, y), 160, std::uint8_t{128});
    }
    for (int lines = 2; lines < 24; lines += 2) {
        for (const int way : {-1, 1}) {
            const PlainPicture picture = displaced(before, {0, way * lines});
            MacroblockMap changed;
            markChanges(picture.view(), before.view(), std::nullopt, changed);
            EXPECT_EQ(findScroll(picture.view(), before.view(), changed, 23), (Displacement{0, way * lines}));
        }
    }
}

}  // namespace
}  // namespace lumivastor::media
