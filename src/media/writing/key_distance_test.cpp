// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/key_distance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace lumivastor::media {
namespace {

constexpr int kTimescale = 600;
constexpr int kMacroblocks = 14'400;  // of 2560 x 1440

// As for a recording at 60 pictures a second.
KeyDistanceSettings liveSettings() {
    KeyDistanceSettings settings;
    settings.maxPictures = 120;
    settings.maxSeekSeconds = 0.08;
    settings.keySecondsAfterChange = 10;
    settings.timescale = kTimescale;
    settings.macroblocks = kMacroblocks;
    settings.cost = liveH264Cost();
    return settings;
}

struct Shown {
    double seconds = 0;
    int changed = 0;  // macroblocks
    std::size_t bytes = 15;
};

// The numbers of the key pictures, each of which has `keyBytes`. `eachSeek`: the seconds for each picture.
std::vector<std::size_t> keysOf(const KeyDistanceSettings& settings, const std::vector<Shown>& pictures,
                                std::size_t keyBytes = 350'000, std::vector<double>* eachSeek = nullptr) {
    KeyDistance keys(settings);
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const Shown& shown = pictures[i];
        const auto ticks = static_cast<std::int64_t>(shown.seconds * kTimescale + 0.5);
        const bool isKey = keys.isDue(ticks, shown.changed == 0);
        keys.add(ticks, shown.changed, isKey);
        keys.wrote(isKey ? keyBytes : shown.bytes, isKey);
        if (isKey) numbers.push_back(i);
        if (eachSeek != nullptr) eachSeek->push_back(keys.seekSeconds());
    }
    return numbers;
}

// As many pictures like this, from `begin` on.
void append(std::vector<Shown>& pictures, int count, double perSecond, const Shown& like) {
    const double begin = pictures.empty() ? 0 : pictures.back().seconds + 1 / perSecond;
    for (int i = 0; i < count; ++i) pictures.push_back({begin + i / perSecond, like.changed, like.bytes});
}

using Numbers = std::vector<std::size_t>;

TEST(KeyDistance, CountsPicturesAloneUnlessMoreIsAsked) {
    KeyDistanceSettings settings = liveSettings();
    settings.maxSeekSeconds = settings.keySecondsAfterChange = 0;
    settings.maxPictures = 50;
    std::vector<Shown> pictures;
    append(pictures, 120, 0.1, {0, kMacroblocks, 1'000'000});
    EXPECT_EQ(keysOf(settings, pictures), (Numbers{0, 50, 100}));
}

TEST(KeyDistance, NoSeekTakesLongerButByItsLastPicture) {
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        KeyDistanceSettings settings = liveSettings();
        settings.maxSeekSeconds = 0.05 + 0.001 * static_cast<double>(random() % 100);
        const std::size_t keyBytes = 10'000 + random() % 600'000;
        std::vector<Shown> pictures;
        while (pictures.size() < 600) {
            const int changed = random() % 2 == 0 ? 0 : static_cast<int>(random() % kMacroblocks);
            append(pictures, 1 + static_cast<int>(random() % 80), 1 + static_cast<double>(random() % 60),
                   {0, changed, 15 + random() % 40'000});
        }
        std::vector<double> seeks;
        const Numbers keys = keysOf(settings, pictures, keyBytes, &seeks);
        std::size_t sinceKey = 0;
        double before = 0;
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            const bool isKey = std::find(keys.begin(), keys.end(), i) != keys.end();
            sinceKey = isKey ? 0 : sinceKey + 1;
            ASSERT_LT(sinceKey, 120u);
            if (!isKey && sinceKey >= static_cast<std::size_t>(KeyDistance::kLeastPictures)) {
                ASSERT_LT(before, settings.maxSeekSeconds) << round << " " << i;
            }
            before = seeks[i];
        }
    }
}

TEST(KeyDistance, IsShorterTheMoreThereIsToDecode) {
    const auto distance = [](int macroblocks, int changed, std::size_t bytes) {
        KeyDistanceSettings settings = liveSettings();
        settings.macroblocks = macroblocks;
        settings.maxPictures = 1000;
        std::vector<Shown> pictures;
        append(pictures, 1000, 60, {0, changed, bytes});
        return keysOf(settings, pictures).at(1);
    };
    const std::size_t typing = distance(kMacroblocks, 3, 150);
    const std::size_t area = distance(kMacroblocks, 920, 35'000);
    const std::size_t scroll = distance(kMacroblocks, 8'000, 35'000);
    const std::size_t camera = distance(kMacroblocks, kMacroblocks, 80'000);
    EXPECT_GT(typing, area);
    EXPECT_GT(area, scroll);
    EXPECT_GT(scroll, camera);
    EXPECT_GE(camera, static_cast<std::size_t>(KeyDistance::kLeastPictures));
    EXPECT_GT(distance(kMacroblocks / 4, 2'000, 10'000), 120u) << "a small screen needs no more than the count gives";
    EXPECT_EQ(distance(9 * kMacroblocks, 9 * kMacroblocks, 900'000),
              static_cast<std::size_t>(KeyDistance::kLeastPictures));
}

TEST(KeyDistance, AStillScreenHasAKeyPictureOnlyForTheRepeatsThemselves) {
    std::vector<Shown> pictures;
    append(pictures, 300, 1, {});
    const Numbers keys = keysOf(liveSettings(), pictures);
    ASSERT_GE(keys.size(), 3u);
    for (std::size_t i = 1; i < keys.size(); ++i) EXPECT_GT(keys[i] - keys[i - 1], 60u);
    EXPECT_LE(keys.size() * 6, 30u) << "one every ten seconds would be thirty";
}

TEST(KeyDistance, WhatStandsStillForTenSecondsHasOneKeyPicture) {
    std::vector<Shown> pictures{{0}};
    for (int second = 1; second < 60; ++second) pictures.push_back({1.0 * second, second == 5 ? 2 : 0});
    EXPECT_EQ(keysOf(liveSettings(), pictures), (Numbers{0, 15}));
    // Still, but not for so long.
    for (std::size_t second = 1; second < 60; ++second) pictures[second].changed = second % 9 == 5 ? 2 : 0;
    EXPECT_EQ(keysOf(liveSettings(), pictures), Numbers{0});
}

TEST(KeyDistance, AnotherPageHasAKeyPictureWithinTenSecondsThoughACaretBlinks) {
    std::vector<Shown> pictures{{0}};
    append(pictures, 80, 2, {0, 1, 100});
    EXPECT_EQ(keysOf(liveSettings(), pictures), Numbers{0}) << "a caret alone does not need any";
    pictures[9].changed = kMacroblocks / 2;  // at 5 s
    EXPECT_DOUBLE_EQ(pictures[9].seconds, 4.5);
    EXPECT_EQ(keysOf(liveSettings(), pictures), (Numbers{0, 29}));
    EXPECT_DOUBLE_EQ(pictures[29].seconds, 14.5);
}

TEST(KeyDistance, WaitsForBytesButNotBeyondTheCount) {
    KeyDistance keys(liveSettings());
    keys.add(0, 0, true);
    keys.wrote(100'000, true);
    int waited = 0;
    for (int i = 1; i < 120; ++i) {
        EXPECT_FALSE(keys.isDue(i * 10, false, KeyDistance::Urgency::mayWait)) << i;
        if (keys.isDue(i * 10, false)) ++waited;
        keys.add(i * 10, kMacroblocks / 10, false);
    }
    EXPECT_GT(waited, 10);
    EXPECT_TRUE(keys.isDue(1200, false, KeyDistance::Urgency::mayWait));
    // What another page needs does not wait.
    keys.add(1200, 0, true);
    keys.add(1210, kMacroblocks, false);
    EXPECT_TRUE(keys.isDue(1210 + 10 * kTimescale, false, KeyDistance::Urgency::mayWait));
}

TEST(KeyDistance, AFreeKeyPictureIsTakenFromAQuarterOfTheSeekOn) {
    KeyDistance keys(liveSettings());
    keys.add(0, 0, true);
    EXPECT_FALSE(keys.isWorthIt());
    int pictures = 1;
    for (; !keys.isWorthIt() && pictures < 120; ++pictures) keys.add(pictures * 10, 0, false);
    EXPECT_GE(pictures, KeyDistance::kLeastPictures);
    EXPECT_NEAR(keys.seekSeconds(), 0.02, 0.001);
    KeyDistanceSettings counted = liveSettings();
    counted.maxSeekSeconds = 0;
    KeyDistance never(counted);
    for (int i = 0; i < 100; ++i) never.add(i * 10, kMacroblocks, i == 0);
    EXPECT_FALSE(never.isWorthIt());
}

TEST(KeyDistance, BytesMayComeLate) {
    KeyDistance keys(liveSettings());
    keys.add(0, 0, true);
    for (int i = 1; i < 20; ++i) keys.add(i * 10, 10, false);
    EXPECT_FALSE(keys.isDue(200, false));
    keys.wrote(10'000'000, false);
    EXPECT_TRUE(keys.isDue(200, false));
}

}  // namespace
}  // namespace lumivastor::media
