// SPDX-License-Identifier: GPL-3.0-or-later

// A cursor picture from anywhere: decoded within the limits, or refused.

#include <cstdint>
#include <cstdlib>
#include <span>

#include "base/recorder_error.h"
#include "imaging/png_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivastor;
    try {
        const auto picture = imaging::decodePng(std::as_bytes(std::span(data, size)), {256, 256});
        if (picture.width() < 1 || picture.width() > 256 || picture.height() < 1 || picture.height() > 256)
            std::abort();
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                const std::uint8_t* pixel = picture.pixel(x, y);
                // Premultiplied: no colour exceeds its alpha.
                if (pixel[0] > pixel[3] || pixel[1] > pixel[3] || pixel[2] > pixel[3]) std::abort();
            }
        }
    } catch (const RecorderError&) {
        return 0;
    }
    return 0;
}
