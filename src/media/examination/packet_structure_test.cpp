// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/examination/packet_structure.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace lumivastor::media {
namespace {

using Bytes = std::vector<std::uint8_t>;

bool isWhole(const Bytes& bytes, int lengths, std::uint64_t from = 0) {
    const ReadAt readAt = [&](std::uint64_t offset, std::span<std::uint8_t> into) {
        if (offset + into.size() > bytes.size()) return false;
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), into.size(), into.begin());
        return true;
    };
    return isWholePicture(readAt, from, bytes.size() - from, lengths);
}

TEST(PacketStructure, UnitsFillTheirPicture) {
    EXPECT_TRUE(isWhole({0, 0, 0, 2, 9, 9}, 4));
    EXPECT_TRUE(isWhole({0, 0, 0, 1, 9, 0, 0, 0, 3, 7, 7, 7}, 4));
    EXPECT_TRUE(isWhole({0, 2, 9, 9, 0, 1, 9}, 2));
    EXPECT_TRUE(isWhole({3, 1, 2, 3}, 1));
    EXPECT_TRUE(isWhole({5, 5, 5, 0, 0, 0, 1, 9}, 4, 3));
}

TEST(PacketStructure, WhatDoesNotFitIsBroken) {
    EXPECT_FALSE(isWhole({}, 4));
    EXPECT_FALSE(isWhole({0, 0, 0}, 4));
    EXPECT_FALSE(isWhole({0, 0, 0, 0}, 4));
    EXPECT_FALSE(isWhole({0, 0, 0, 3, 9, 9}, 4));
    EXPECT_FALSE(isWhole({0, 0, 0, 1, 9, 9}, 4));
    EXPECT_FALSE(isWhole({255, 255, 255, 255, 9, 9}, 4));
    EXPECT_FALSE(isWhole(Bytes(100, 0), 4));
}

TEST(PacketStructure, AFileThatEndsIsBroken) {
    const ReadAt nothing = [](std::uint64_t, std::span<std::uint8_t>) { return false; };
    EXPECT_FALSE(isWholePicture(nothing, 0, 100, 4));
}

TEST(PacketStructure, DecoderParametersSayHowLongLengthsAre) {
    Bytes avc(8, 0);
    avc[0] = 1;
    avc[4] = 0xFF;
    EXPECT_EQ(lengthBytes("h264", avc), 4);
    avc[4] = 0xFC;
    EXPECT_EQ(lengthBytes("h264", avc), 1);
    Bytes hevc(30, 0);
    hevc[0] = 1;
    hevc[21] = 0xF;
    EXPECT_EQ(lengthBytes("hevc", hevc), 4);
    EXPECT_EQ(lengthBytes("hevc", Bytes{1, 2, 3}), std::nullopt);
    EXPECT_EQ(lengthBytes("h264", Bytes{0, 0, 0, 1, 0x67}), std::nullopt);
    EXPECT_EQ(lengthBytes("h264", {}), std::nullopt);
    EXPECT_EQ(lengthBytes("vp9", avc), std::nullopt);
}

}  // namespace
}  // namespace lumivastor::media
