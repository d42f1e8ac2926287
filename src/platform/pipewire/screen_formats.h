// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/pixel_size.h"

struct spa_pod;
struct spa_pod_builder;

namespace lumivastor::pipewire {

/// The pictures of a screen's stream: four bytes for each pixel.
struct ScreenFormat {
    /// Of the whole buffer in pixels, each side 1 to `kMaximumScreenSide`.
    PixelSize size;
    /// Red, green, blue in memory order, or else blue, green, red. The fourth byte is alpha or nothing.
    bool isRedFirst = false;

    bool operator==(const ScreenFormat&) const = default;
};

inline constexpr int kMaximumScreenSide = 16384;

/// What this program accepts: four byte orders in ordinary memory, at most `maximumRate` pictures a second. There is no
/// modifier in it, so producers do not offer buffers of the graphics card. Lies in the builder's memory.
const spa_pod* screenFormatOffer(spa_pod_builder* builder, int maximumRate);

/// What was agreed on; nullopt when this program cannot read it.
std::optional<ScreenFormat> agreedScreenFormat(const spa_pod* format);

/// What buffers must be and hold besides pixels: stamp, crop, damage, cursor. Lies in the builder's memory, of which
/// `kScreenBufferBytes` are enough.
std::vector<const spa_pod*> screenBufferParameters(spa_pod_builder* builder);
inline constexpr std::size_t kScreenBufferBytes = 2048;

}  // namespace lumivastor::pipewire
