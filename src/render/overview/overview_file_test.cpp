// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/overview_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "base/stable_hash.h"

namespace lumivastor::render {
namespace {

constexpr std::uint64_t kMovie = 0x1234'5678'9abc'def0;

std::shared_ptr<const imaging::BgraPremultipliedBuffer> colouredPicture(int width, int height, int seed) {
    auto picture = std::make_shared<imaging::BgraPremultipliedBuffer>(width, height);
    std::mt19937 random(static_cast<unsigned>(seed));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int channel = 0; channel < 3; ++channel) {
                picture->pixel(x, y)[channel] = static_cast<std::uint8_t>(random());
            }
            picture->pixel(x, y)[3] = 255;
        }
    }
    return picture;
}

RecordingOverview someOverview() {
    RecordingOverview overview;
    overview.systemSound = std::make_shared<const Waveform>(std::vector<std::uint8_t>{0, 3, 255, 17});
    overview.pictures = {{0.5, colouredPicture(5, 3, 1)}, {2, colouredPicture(128, 72, 2)}};
    overview.stillStretches = {{0, 1.5}, {2, 7.25}};
    overview.isComplete = true;
    return overview;
}

std::span<const std::byte> bytesOf(const std::string& text) {
    return std::as_bytes(std::span(text));
}

// With a checksum that fits, so that the parser has to look.
std::string sealed(std::string bytes) {
    bytes.resize(bytes.size() - sizeof(std::uint64_t));
    StableHash hash;
    hash.add(bytes.data(), bytes.size());
    for (std::size_t i = 0; i < sizeof(std::uint64_t); ++i) {
        bytes.push_back(static_cast<char>(hash.value() >> (8 * i) & 0xff));
    }
    return bytes;
}

TEST(OverviewFile, ReadsWhatWasWritten) {
    const RecordingOverview written = someOverview();
    const auto read = parseOverview(bytesOf(overviewBytes(written, kMovie)), kMovie);
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->isComplete);
    EXPECT_TRUE(read->knowsSound);
    EXPECT_EQ(read->stillStretches, written.stillStretches);
    EXPECT_EQ(read->microphone, nullptr);
    ASSERT_NE(read->systemSound, nullptr);
    EXPECT_TRUE(std::ranges::equal(read->systemSound->levels(), written.systemSound->levels()));
    ASSERT_EQ(read->pictures.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(read->pictures[i].seconds, written.pictures[i].seconds);
        const auto& a = *read->pictures[i].pixels;
        const auto& b = *written.pictures[i].pixels;
        ASSERT_EQ(a.width(), b.width());
        ASSERT_EQ(a.height(), b.height());
        for (int y = 0; y < a.height(); ++y) {
            EXPECT_EQ(std::memcmp(a.row(y), b.row(y), static_cast<std::size_t>(a.width()) * 4), 0);
        }
    }
}

TEST(OverviewFile, AnEmptyOverviewIsOne) {
    const auto read = parseOverview(bytesOf(overviewBytes({}, kMovie)), kMovie);
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->pictures.empty());
    EXPECT_EQ(read->systemSound, nullptr);
}

TEST(OverviewFile, OfAnotherMovieOrVersionIsNone) {
    std::string bytes = overviewBytes(someOverview(), kMovie);
    EXPECT_FALSE(parseOverview(bytesOf(bytes), kMovie + 1));
    bytes[8] = static_cast<char>(kOverviewVersion + 1);
    EXPECT_FALSE(parseOverview(bytesOf(sealed(bytes)), kMovie));
}

TEST(OverviewFile, AnyDamageIsNoticed) {
    const std::string good = overviewBytes(someOverview(), kMovie);
    EXPECT_FALSE(parseOverview({}, kMovie));
    for (std::size_t length = 0; length < good.size(); length += 1 + length / 50) {
        EXPECT_FALSE(parseOverview(bytesOf(good.substr(0, length)), kMovie)) << length;
    }
    EXPECT_FALSE(parseOverview(bytesOf(good + "x"), kMovie));
    std::mt19937 random(9);
    for (int trial = 0; trial < 2000; ++trial) {
        std::string bad = good;
        bad[random() % bad.size()] ^= static_cast<char>(1 << random() % 8);
        EXPECT_FALSE(parseOverview(bytesOf(bad), kMovie));
    }
}

TEST(OverviewFile, HostileNumbersWithAFittingChecksumDoNoHarm) {
    RecordingOverview small = someOverview();
    small.pictures.pop_back();
    const std::string good = overviewBytes(small, kMovie);
    std::mt19937 random(4);
    int read = 0;
    for (int trial = 0; trial < 20'000; ++trial) {
        std::string bad = good;
        for (auto changes = 1 + random() % 3; changes > 0; --changes) {
            const std::size_t at = random() % bad.size();
            bad[at] = static_cast<char>(random() % 3 == 0 ? 0xff : random());
        }
        const auto overview = parseOverview(bytesOf(sealed(bad)), kMovie);
        if (!overview) continue;
        ++read;
        for (const SmallPicture& picture : overview->pictures) {
            EXPECT_TRUE(std::isfinite(picture.seconds));
            EXPECT_LE(picture.pixels->height(), kSmallPictureHeight);
        }
        for (const Interval& stretch : overview->stillStretches) EXPECT_LE(stretch.start, stretch.end);
    }
    EXPECT_GT(read, 0) << "levels, for example, may be anything";
}

}  // namespace
}  // namespace lumivastor::render
