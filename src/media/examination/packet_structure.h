// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

namespace lumivastor::media {

/// Fills `bytes` from this place of a file; false when the file ends before or cannot be read.
using ReadAt = std::function<bool(std::uint64_t offset, std::span<std::uint8_t> bytes)>;

/// The number of bytes of each length inside the pictures of an H.264 or HEVC track, from the parameters of its
/// decoder; nullopt when its pictures have another form. `codec` is FFmpeg's short name.
std::optional<int> lengthBytes(std::string_view codec, std::span<const std::uint8_t> parameters);

/// Whether a picture's units, each with its length before it, fill its place in the file exactly. Reads the lengths
/// only, so the pictures of an hour take a second.
bool isWholePicture(const ReadAt& readAt, std::uint64_t offset, std::uint64_t size, int lengthBytes);

}  // namespace lumivastor::media
