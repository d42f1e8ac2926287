// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/pointer/cursor_shapes.h"

#include <gtest/gtest.h>

namespace lumivastor::capture {
namespace {

platform::SystemCursor cursor(int width, int height, int value, double hotspotX = 1, double hotspotY = 2) {
    platform::SystemCursor cursor;
    cursor.image = imaging::BgraPremultipliedBuffer(width, height);
    for (int y = 0; y < height; ++y) std::fill_n(cursor.image.row(y), width * 4, static_cast<std::uint8_t>(value));
    cursor.hotspotX = hotspotX;
    cursor.hotspotY = hotspotY;
    return cursor;
}

TEST(CursorFingerprint, IsTheSameForTheSamePictureWhateverItsSerial) {
    platform::SystemCursor a = cursor(24, 24, 9);
    platform::SystemCursor b = cursor(24, 24, 9);
    a.serial = 1;
    b.serial = 2;
    // What lies between two rows does not belong to the picture.
    a.image.row(0)[24 * 4] = 1;
    EXPECT_EQ(cursorFingerprint(a), cursorFingerprint(b));
}

TEST(CursorFingerprint, DiffersByPixelsSizeAndHotSpot) {
    const std::uint64_t fingerprint = cursorFingerprint(cursor(24, 24, 9));
    EXPECT_NE(fingerprint, cursorFingerprint(cursor(24, 24, 8)));
    EXPECT_NE(fingerprint, cursorFingerprint(cursor(24, 25, 9)));
    EXPECT_NE(cursorFingerprint(cursor(12, 24, 9)), cursorFingerprint(cursor(24, 12, 9)));
    EXPECT_NE(fingerprint, cursorFingerprint(cursor(24, 24, 9, 2, 2)));
    EXPECT_NE(fingerprint, cursorFingerprint(cursor(24, 24, 9, 1, 1)));
    platform::SystemCursor last = cursor(24, 24, 9);
    last.image.pixel(23, 23)[3] = 10;
    EXPECT_NE(fingerprint, cursorFingerprint(last));
}

TEST(CursorImages, AreMeasuredInPoints) {
    const model::CursorImage image = cursorImage("c3", cursor(48, 32, 0, 6, 9), 2);
    EXPECT_EQ(image, (model::CursorImage{"c3", "cursors/c3.png", 24, 16, 3, 4.5, 2, true}));
    EXPECT_EQ(cursorImage("c0", cursor(30, 30, 0), 1.25).width, 24);
    EXPECT_EQ(cursorImage("c0", cursor(30, 30, 0), 1.25).scale, 1.25);
}

TEST(CursorImages, TheHiddenShapeHasNoFileAndNoSize) {
    EXPECT_EQ(hiddenCursor(), (model::CursorImage{"hidden", "", 0, 0, 0, 0, 1, false}));
}

}  // namespace
}  // namespace lumivastor::capture
