// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "imaging/pixel_buffer.h"

namespace lumivastor::capture {

/// Notices whether a camera's picture still changes. Noise makes any two pictures of a real camera differ, so equal
/// ones mean that it hangs. Plain value; one thread.
class PictureChange {
  public:
    /// Seconds between two pictures that are compared, so that it costs almost nothing.
    static constexpr double kInterval = 0.5;

    /// Whether a picture of this time is compared, and differs from the one compared before. The first one differs.
    bool isNew(const imaging::BgraPremultipliedBuffer& picture, double hostSeconds);

  private:
    std::optional<double> lastTime_;
    std::uint64_t lastHash_ = 0;
};

}  // namespace lumivastor::capture
