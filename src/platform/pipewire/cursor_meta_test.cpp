// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/cursor_meta.h"

#include <gtest/gtest.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace lumivastor::pipewire {
namespace {

using Bytes = std::vector<std::byte>;

constexpr std::size_t kBitmapAt = sizeof(spa_meta_cursor);
constexpr std::size_t kPixelsAt = sizeof(spa_meta_bitmap);

spa_meta_cursor cursorAt(int x, int y, int hotSpotX = 0, int hotSpotY = 0) {
    spa_meta_cursor cursor{};
    cursor.id = 1;
    cursor.position = {x, y};
    cursor.hotspot = {hotSpotX, hotSpotY};
    return cursor;
}

Bytes meta(const spa_meta_cursor& cursor) {
    Bytes bytes(sizeof cursor);
    std::memcpy(bytes.data(), &cursor, sizeof cursor);
    return bytes;
}

spa_meta_bitmap bitmap(std::uint32_t format, std::uint32_t width, std::uint32_t height) {
    return {format, {width, height}, static_cast<std::int32_t>(width * 4), kPixelsAt};
}

// A shape whose bytes are `pixels`.
Bytes meta(spa_meta_cursor cursor, const spa_meta_bitmap& shape, const std::vector<std::uint8_t>& pixels) {
    cursor.bitmap_offset = kBitmapAt;
    Bytes bytes(kBitmapAt + kPixelsAt + pixels.size());
    std::memcpy(bytes.data(), &cursor, sizeof cursor);
    std::memcpy(bytes.data() + kBitmapAt, &shape, sizeof shape);
    if (!pixels.empty()) std::memcpy(bytes.data() + kBitmapAt + kPixelsAt, pixels.data(), pixels.size());
    return bytes;
}

Bytes withShape(int x, int y, int hotSpotX, int hotSpotY, std::uint32_t side = 8) {
    return meta(cursorAt(x, y, hotSpotX, hotSpotY), bitmap(SPA_VIDEO_FORMAT_RGBA, side, side),
                std::vector<std::uint8_t>(std::size_t{side} * side * 4, 0xff));
}

Bytes hidden(int x, int y) {
    return meta(cursorAt(x, y), {0, {0, 0}, 0, 0}, {});
}

TEST(CursorMeta, PositionAndShape) {
    CursorMetaReader reader;
    const auto report = reader.read(withShape(961, -3, 4, 5), 12.5);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->state, CursorReport::State::visible);
    EXPECT_EQ(report->x, 961);
    EXPECT_EQ(report->y, -3);
    EXPECT_EQ(report->hotSpotX, 4);
    EXPECT_EQ(report->hotSpotY, 5);
    EXPECT_EQ(report->hostSeconds, 12.5);
    ASSERT_TRUE(report->newShape);
    EXPECT_EQ(report->newShape->width(), 8);
    EXPECT_EQ(report->newShape->height(), 8);
}

TEST(CursorMeta, TheHotSpotHoldsOnlyTogetherWithAShape) {
    CursorMetaReader reader;
    reader.read(withShape(1, 1, 4, 5), 0);
    const auto moved = reader.read(meta(cursorAt(2, 2, 0, 0)), 0);
    ASSERT_TRUE(moved);
    EXPECT_FALSE(moved->newShape);
    EXPECT_EQ(moved->hotSpotX, 4);
    EXPECT_EQ(moved->hotSpotY, 5);
    const auto other = reader.read(withShape(2, 2, 1, 0), 0);
    EXPECT_EQ(other->hotSpotX, 1);
    EXPECT_EQ(other->hotSpotY, 0);
}

TEST(CursorMeta, AnEmptyShapeHidesUntilTheNextOne) {
    CursorMetaReader reader;
    reader.read(withShape(1, 1, 4, 5), 0);
    const auto gone = reader.read(hidden(2, 2), 0);
    ASSERT_TRUE(gone);
    EXPECT_EQ(gone->state, CursorReport::State::hidden);
    EXPECT_EQ(gone->x, 2);
    EXPECT_EQ(gone->hotSpotX, 4);
    EXPECT_EQ(reader.read(meta(cursorAt(3, 3)), 0)->state, CursorReport::State::hidden);
    EXPECT_EQ(reader.read(withShape(4, 4, 0, 0), 0)->state, CursorReport::State::visible);
    EXPECT_EQ(reader.read(meta(cursorAt(5, 5)), 0)->state, CursorReport::State::visible);
    // The other way to say so: a size, but no pixels.
    spa_meta_bitmap without = bitmap(SPA_VIDEO_FORMAT_RGBA, 8, 8);
    without.offset = 0;
    EXPECT_EQ(reader.read(meta(cursorAt(6, 6), without, {}), 0)->state, CursorReport::State::hidden);
}

TEST(CursorMeta, WithoutAnIdThePointerIsElsewhere) {
    CursorMetaReader reader;
    reader.read(withShape(1, 1, 4, 5), 0);
    spa_meta_cursor cursor = cursorAt(7, 7, 1, 1);
    cursor.id = 0;
    const auto report = reader.read(meta(cursor), 0);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->state, CursorReport::State::gone);
    const auto back = reader.read(meta(cursorAt(8, 8)), 0);
    EXPECT_EQ(back->state, CursorReport::State::visible);
    EXPECT_EQ(back->hotSpotX, 4);
}

TEST(CursorMeta, ReadsFourByteOrdersAsPremultipliedBgra) {
    // Blue 10, green 20, red 30, alpha 40.
    const std::vector<std::pair<std::uint32_t, std::vector<std::uint8_t>>> orders{
        {SPA_VIDEO_FORMAT_BGRA, {10, 20, 30, 40}},
        {SPA_VIDEO_FORMAT_RGBA, {30, 20, 10, 40}},
        {SPA_VIDEO_FORMAT_ARGB, {40, 30, 20, 10}},
        {SPA_VIDEO_FORMAT_ABGR, {40, 10, 20, 30}}};
    for (const auto& [format, pixel] : orders) {
        CursorMetaReader reader;
        const auto report = reader.read(meta(cursorAt(0, 0), bitmap(format, 1, 1), pixel), 0);
        ASSERT_TRUE(report && report->newShape) << format;
        const std::uint8_t* found = report->newShape->pixel(0, 0);
        EXPECT_EQ((std::vector<int>(found, found + 4)), (std::vector<int>{10, 20, 30, 40})) << format;
    }
}

std::vector<int> pixelsOf(const std::vector<std::uint8_t>& pixels) {
    CursorMetaReader reader;
    const auto count = static_cast<std::uint32_t>(pixels.size() / 4);
    const auto report = reader.read(meta(cursorAt(0, 0), bitmap(SPA_VIDEO_FORMAT_BGRA, count, 1), pixels), 0);
    if (!report || !report->newShape) return {};
    return {report->newShape->pixel(0, 0), report->newShape->pixel(0, 0) + pixels.size()};
}

TEST(CursorMeta, NoColourIsBrighterThanItsAlpha) {
    EXPECT_EQ(pixelsOf({102, 101, 100, 100, 50, 50, 50, 60}), (std::vector<int>{100, 100, 100, 100, 50, 50, 50, 60}));
}

TEST(CursorMeta, AShapeWithAColourThatIsTooBrightIsNotPremultiplied) {
    EXPECT_EQ(pixelsOf({255, 100, 0, 100, 200, 200, 200, 255, 80, 80, 80, 128, 9, 9, 9, 0}),
              (std::vector<int>{100, 39, 0, 100, 200, 200, 200, 255, 40, 40, 40, 128, 0, 0, 0, 0}));
}

TEST(CursorMeta, RowsMayHaveGapsAndTheLastNeedsNone) {
    spa_meta_bitmap shape = bitmap(SPA_VIDEO_FORMAT_BGRA, 1, 2);
    shape.stride = 12;
    std::vector<std::uint8_t> pixels(12 + 4, 0);
    pixels[3] = 1;
    pixels[15] = 2;
    CursorMetaReader reader;
    auto report = reader.read(meta(cursorAt(0, 0), shape, pixels), 0);
    ASSERT_TRUE(report && report->newShape);
    EXPECT_EQ(report->newShape->pixel(0, 0)[3], 1);
    EXPECT_EQ(report->newShape->pixel(0, 1)[3], 2);
    pixels.pop_back();
    report = reader.read(meta(cursorAt(0, 0), shape, pixels), 0);
    ASSERT_TRUE(report);
    EXPECT_FALSE(report->newShape);
}

TEST(CursorMeta, TheLargestShapeIsReadAndALargerOneIsNot) {
    CursorMetaReader reader;
    const auto side = static_cast<std::uint32_t>(CursorMetaReader::kMaximumSide);
    EXPECT_TRUE(reader.read(withShape(0, 0, 1, 1, side), 0)->newShape);
    const auto larger = reader.read(withShape(0, 0, 2, 2, side + 1), 0);
    ASSERT_TRUE(larger);
    EXPECT_FALSE(larger->newShape);
    EXPECT_EQ(larger->state, CursorReport::State::visible);
    EXPECT_EQ(larger->hotSpotX, 1);
}

TEST(CursorMeta, AHotSpotLiesWithinItsShape) {
    CursorMetaReader reader;
    const auto report = reader.read(withShape(0, 0, 1000, -1), 0);
    EXPECT_EQ(report->hotSpotX, 7);
    EXPECT_EQ(report->hotSpotY, 0);
}

// What a broken or hostile producer writes. Under the address sanitizer this also shows that nothing beyond is read.
TEST(CursorMeta, DescriptionsThatDoNotFitTheirBytesGiveNoShape) {
    const std::array<std::uint32_t, 8> numbers{0, 1, 4, 20, 28, 0x7fffffff, 0x80000000, 0xffffffff};
    const std::size_t words = (kBitmapAt + kPixelsAt) / 4;
    int shapes = 0;
    int total = 0;
    for (std::size_t word = 0; word < words; ++word) {
        for (const std::uint32_t number : numbers) {
            Bytes bytes = withShape(1, 2, 3, 4);
            std::memcpy(bytes.data() + word * 4, &number, 4);
            const Bytes exact(bytes.begin(), bytes.end());
            CursorMetaReader reader;
            const auto report = reader.read(exact, 0);
            ++total;
            if (!report || !report->newShape) continue;
            ++shapes;
            EXPECT_LE(report->newShape->width(), 8);
            EXPECT_LE(report->newShape->height(), 8);
        }
    }
    // Ids, flags, positions, hot spots and smaller sizes are free; the rest is not.
    EXPECT_GT(shapes, 0);
    EXPECT_LT(shapes, total);
    for (std::size_t size = 0; size < withShape(1, 2, 3, 4).size(); ++size) {
        Bytes bytes = withShape(1, 2, 3, 4);
        bytes.resize(size);
        CursorMetaReader reader;
        const auto report = reader.read(bytes, 0);
        EXPECT_EQ(report.has_value(), size >= kBitmapAt + kPixelsAt) << size;
        EXPECT_FALSE(report && report->newShape) << size;
    }
}

}  // namespace
}  // namespace lumivastor::pipewire
