// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/appended_damage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <vector>

#include "capture/recording/waiting_picture.h"
#include "capture/recording_progress.h"

namespace lumivastor::capture {
namespace {

imaging::DamageArea cell(int x) {
    imaging::DamageArea area;
    area.add({x, 0, 1, 1});
    return area;
}

TEST(AppendedDamage, IsUnknownForTheFirstPicture) {
    AppendedDamage damage;
    EXPECT_FALSE(damage.appended(damage.delivered(cell(0))));
}

TEST(AppendedDamage, HasWhatLeftOutPicturesChanged) {
    AppendedDamage damage;
    damage.appended(damage.delivered(std::nullopt));
    damage.delivered(cell(3));
    damage.delivered(cell(5));
    const imaging::KnownDamage both = damage.appended(damage.delivered(cell(7)));
    ASSERT_TRUE(both);
    EXPECT_EQ(both->rects().size(), 3u);
    EXPECT_TRUE(damage.appended(damage.delivered(imaging::DamageArea())).value().isEmpty());
}

TEST(AppendedDamage, IsUnknownAfterALeftOutPictureOfUnknownDamage) {
    AppendedDamage damage;
    damage.appended(damage.delivered(std::nullopt));
    damage.delivered(std::nullopt);
    EXPECT_FALSE(damage.appended(damage.delivered(cell(1))));
    EXPECT_TRUE(damage.appended(damage.delivered(cell(1))));
}

TEST(AppendedDamage, APictureThatWaitedKeepsWhatCameBehindIt) {
    AppendedDamage damage;
    damage.appended(damage.delivered(std::nullopt));
    const std::uint64_t waiting = damage.delivered(cell(1));
    const std::uint64_t newest = damage.delivered(cell(2));
    EXPECT_TRUE(damage.appended(waiting));
    const imaging::KnownDamage rest = damage.appended(newest);
    ASSERT_TRUE(rest);
    ASSERT_EQ(rest->rects().size(), 1u);
    EXPECT_EQ(rest->rects()[0], (PixelRect{2, 0, 1, 1}));
}

// What the recorder does, with a writer that has room or not as it happens.
TEST(AppendedDamage, CoversEveryDifferenceWhateverIsLeftOut) {
    constexpr int kCells = 64;
    using Content = std::array<int, kCells>;
    std::mt19937 random(5);
    const auto pick = [&](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    for (int round = 0; round < 200; ++round) {
        AppendedDamage damage;
        WaitingPicture waiting;
        WaitingPicture::Image newestImage;
        std::vector<Content> delivered(1);  // by number
        std::optional<Content> last;
        int known = 0;
        const auto append = [&](std::uint64_t number) {
            const Content& content = delivered[number];
            if (const auto told = damage.appended(number)) {
                ASSERT_TRUE(last);
                ++known;
                for (int x = 0; x < kCells; ++x) {
                    const bool isTold =
                        std::any_of(told->rects().begin(), told->rects().end(), [x](const PixelRect& rect) {
                            return rect.contains({x, 0, 1, 1});
                        });
                    const auto at = static_cast<std::size_t>(x);
                    ASSERT_TRUE(isTold || content[at] == (*last)[at]) << "cell " << x << ", round " << round;
                }
            }
            last = content;
        };
        for (int step = 0; step < 60; ++step) {
            const MediaTime now = hostTime(step);
            const bool hasRoom = pick(3) == 0;
            if (hasRoom) {
                while (const auto late = waiting.next(now)) append(late->number);
            }
            Content content = delivered.back();
            imaging::DamageArea changed;
            for (int i = pick(4); i > 0; --i) {
                const int x = pick(kCells);
                content[static_cast<std::size_t>(x)] = step;
                changed.add({x, 0, 1, 1});
            }
            delivered.push_back(content);
            const auto number = damage.delivered(pick(20) == 0 ? imaging::KnownDamage() : changed);
            newestImage = std::make_shared<const imaging::BgraPremultipliedBuffer>(2, 2);
            if (step < 5 && round % 2 == 0) {
                waiting.keepForStart(newestImage, hostTime(5), number);
            } else if (hasRoom && pick(4) != 0) {
                waiting.giveUp();
                append(number);
            } else {
                waiting.keep(newestImage, now, number);
            }
        }
        EXPECT_GT(known, 3);
    }
}

}  // namespace
}  // namespace lumivastor::capture
