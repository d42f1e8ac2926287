// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/golden_picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "imaging/png_file.h"

namespace lumivastor {

namespace {

namespace fs = std::filesystem;

void writeFailure(const imaging::BgraPremultipliedBuffer& actual, const imaging::BgraPremultipliedBuffer& expected,
                  const std::string& name) {
    const fs::path folder = fs::current_path() / "golden-failures";
    fs::create_directories(folder);
    imaging::BgraPremultipliedBuffer difference(std::max(actual.width(), expected.width()),
                                                std::max(actual.height(), expected.height()));
    for (int y = 0; y < difference.height(); ++y) {
        for (int x = 0; x < difference.width(); ++x) {
            std::uint8_t* pixel = difference.pixel(x, y);
            std::fill(pixel, pixel + 4, std::uint8_t{255});
            if (x >= actual.width() || y >= actual.height() || x >= expected.width() || y >= expected.height())
                continue;
            const int alpha = std::abs(actual.pixel(x, y)[3] - expected.pixel(x, y)[3]);
            for (int i = 0; i < 3; ++i) {
                const int channel = std::abs(actual.pixel(x, y)[i] - expected.pixel(x, y)[i]);
                pixel[i] = static_cast<std::uint8_t>(std::min(16 * std::max(channel, alpha), 255));
            }
        }
    }
    imaging::writePng(folder / (name + ".actual.png"), actual);
    if (!expected.isEmpty()) imaging::writePng(folder / (name + ".expected.png"), expected);
    imaging::writePng(folder / (name + ".difference.png"), difference);
    ADD_FAILURE() << name << " differs from its golden picture; see " << folder;
}

}  // namespace

void expectGolden(const imaging::BgraPremultipliedBuffer& actual, const fs::path& golden, int tolerance) {
    const char* update = std::getenv("LUMI_UPDATE_GOLDEN");
    if (update != nullptr && *update == '1') {
        fs::create_directories(golden.parent_path());
        imaging::writePng(golden, actual);
        ADD_FAILURE() << golden << " was written again and compared with nothing";
        return;
    }
    const std::string name = golden.stem().string();
    const auto expected = fs::exists(golden) ? imaging::readPng(golden) : imaging::BgraPremultipliedBuffer();
    if (actual.width() != expected.width() || actual.height() != expected.height()) {
        return writeFailure(actual, expected, name);
    }
    for (int y = 0; y < actual.height(); ++y) {
        for (int i = 0; i < actual.width() * 4; ++i) {
            if (std::abs(actual.row(y)[i] - expected.row(y)[i]) > tolerance) {
                return writeFailure(actual, expected, name);
            }
        }
    }
}

}  // namespace lumivastor
