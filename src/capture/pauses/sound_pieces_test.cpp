// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/pauses/sound_pieces.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace lumivastor::capture {
namespace {

constexpr int kRate = 48000;

platform::SoundBuffer sound(double hostSeconds, std::size_t frames, int channels = 2) {
    return {hostSeconds, kRate, channels, std::vector<float>(frames * static_cast<std::size_t>(channels), 0.5F)};
}

Pauses paused(double from, std::optional<double> to) {
    Pauses pauses;
    pauses.begin(from, false);
    if (to) pauses.end(*to);
    return pauses;
}

TEST(SoundPieces, SoundAwayFromPausesIsTheSame) {
    for (const Pauses& pauses : {Pauses(), paused(101, std::nullopt), paused(90, 95)}) {
        const auto pieces = piecesOutsideOf(pauses, sound(100, 480));
        ASSERT_EQ(pieces.size(), 1U);
        EXPECT_NEAR(pieces[0].hostSeconds, pauses.nearestMovieTime(100), 1e-9);
        EXPECT_EQ(pieces[0].values, sound(100, 480).values);
    }
    EXPECT_TRUE(piecesOutsideOf(paused(99, 101), sound(100, 480)).empty());
    EXPECT_TRUE(piecesOutsideOf(paused(99, std::nullopt), sound(100, 480)).empty());
}

TEST(SoundPieces, APauseWithinABufferLeavesItsEnds) {
    const auto pieces = piecesOutsideOf(paused(100.25, 100.75), sound(100, kRate));
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_NEAR(pieces[0].hostSeconds, 100, 1e-9);
    EXPECT_EQ(pieces[0].frames(), 12000U);
    EXPECT_NEAR(pieces[1].hostSeconds, 100.25, 1e-9);
    EXPECT_EQ(pieces[1].frames(), 12000U);
}

TEST(SoundPieces, FadeAtPausesAlone) {
    const auto pieces = piecesOutsideOf(paused(100.25, 100.75), sound(100, kRate));
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_EQ(pieces[0].values.front(), 0.5F);
    EXPECT_LT(pieces[0].values.back(), 0.001F);
    EXPECT_LT(pieces[1].values.front(), 0.001F);
    EXPECT_EQ(pieces[1].values.back(), 0.5F);
    const std::vector<float>& fading = pieces[1].values;
    for (std::size_t i = 2; i < fading.size(); ++i) EXPECT_GE(fading[i], fading[i - 2]);
    EXPECT_EQ(fading[2 * 120], 0.5F) << "2.5 ms";
    EXPECT_FALSE(pieces[0].isAfterPause);
    EXPECT_TRUE(pieces[1].isAfterPause);
    // A pause that ends where a buffer begins.
    const auto behind = piecesOutsideOf(paused(99, 100), sound(100, 480));
    EXPECT_LT(behind.at(0).values.front(), 0.001F);
    EXPECT_TRUE(behind.at(0).isAfterPause);
    EXPECT_FALSE(piecesOutsideOf(paused(99, 100), sound(100.01, 480)).at(0).isAfterPause);
}

// Pauses begin and end anywhere within the buffers. What is kept follows what was before it, to the frame.
TEST(SoundPieces, OfManyPausesFollowEachOther) {
    Pauses pauses;
    for (int i = 0; i < 10; ++i) {
        pauses.begin(100.1003 + i * 1.37, false);
        pauses.end(100.1003 + i * 1.37 + 0.3331 + i * 0.0171);
    }
    std::size_t frames = 0;
    for (int i = 0; i < 1500; ++i) {
        for (const auto& piece : piecesOutsideOf(pauses, sound(100 + i * 0.01, 480, 1))) {
            const double here = (piece.hostSeconds - 100) * kRate;
            EXPECT_LE(std::abs(here - static_cast<double>(frames)), 3) << i;
            frames += piece.frames();
        }
    }
    EXPECT_NEAR(static_cast<double>(frames) / kRate, pauses.nearestMovieTime(115) - 100, 3.0 / kRate);
}

// What was delivered before the pause ended is lost: the first sound behind it begins later.
TEST(SoundPieces, TheFirstBehindAPauseIsKnownThoughItBeginsLater) {
    SoundCutter cutter;
    EXPECT_FALSE(cutter.pieces(paused(99, std::nullopt), sound(98.9, 480)).at(0).isAfterPause);
    EXPECT_TRUE(cutter.pieces(paused(99, std::nullopt), sound(100.003, 480)).empty());
    const Pauses ended = paused(99, 100);
    EXPECT_TRUE(cutter.pieces(ended, sound(100.013, 480)).at(0).isAfterPause);
    EXPECT_FALSE(cutter.pieces(ended, sound(100.023, 480)).at(0).isAfterPause);
}

}  // namespace
}  // namespace lumivastor::capture
