#pragma once

#include <cstdint>

namespace lumivastor {

/// One row of the studio background. Colours are blue, green, red, 0...255; positions in pixels of the row.
struct BackgroundRow {
    float light[3] = {};
    float change[3] = {};  // from the light to the dark tone
    float gradientStart = 0;
    float gradientStep = 0;  // per pixel
    float highlightX = 0;
    float highlightY = 0;  // from the row to the highlight's centre
    float highlightReach = 0;
    float highlightAlpha = 0;
};

/// Fills a row of opaque BGRA pixels; vectorised for the machine it runs on. The row's memory must go on to the next
/// multiple of 64 bytes, as that of a `BgraPremultipliedBuffer` does.
void fillBackgroundRow(const BackgroundRow& row, std::uint8_t* pixels, int width);

}  // namespace lumivastor
