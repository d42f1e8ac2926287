// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

#include "imaging/pixel_buffer.h"

namespace lumivastor::imaging {

/// Limits for PNG files of unknown origin; both are checked against the header before pixels are allocated.
struct PngLimits {
    int maxWidth = 16384;
    int maxHeight = 16384;
};

/// Decodes a PNG of any colour type to 8-bit sRGB with premultiplied alpha. Throws `RecorderError` when the bytes are
/// no PNG, are damaged, or exceed the limits. Any thread.
BgraPremultipliedBuffer decodePng(std::span<const std::byte> bytes, const PngLimits& limits = {});

/// Reads and decodes a PNG file. Throws `RecorderError` with the reason, the system's included.
BgraPremultipliedBuffer readPng(const std::filesystem::path& path, const PngLimits& limits = {});

/// A picture as an RGBA PNG (alpha no longer premultiplied). Throws `RecorderError`.
std::string encodedPng(const BgraPremultipliedBuffer& picture);

/// Writes a picture as PNG over any file of that name, for pictures that the user has named. Throws `RecorderError`
/// when the file cannot be written.
void writePng(const std::filesystem::path& path, const BgraPremultipliedBuffer& picture);

}  // namespace lumivastor::imaging
