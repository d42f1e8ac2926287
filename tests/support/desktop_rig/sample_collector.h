// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/capture_stream.h"
#include "support/await.h"
#include "support/desktop_rig/desktop_rig.h"

namespace lumivastor {

/// The number of pixels in which two pictures of one size differ although no damage was told there.
inline int undamagedDifferences(const imaging::BgraPremultipliedBuffer& picture,
                                const imaging::BgraPremultipliedBuffer& before, const imaging::DamageArea& damage) {
    int different = 0;
    for (int y = 0; y < picture.height(); ++y) {
        if (std::memcmp(picture.row(y), before.row(y), static_cast<std::size_t>(picture.width()) * 4) == 0) continue;
        for (int x = 0; x < picture.width(); ++x) {
            const bool isTold = std::any_of(damage.rects().begin(), damage.rects().end(), [&](const PixelRect& rect) {
                return rect.contains({x, y, 1, 1});
            });
            if (!isTold && std::memcmp(picture.pixel(x, y), before.pixel(x, y), 4) != 0) ++different;
        }
    }
    return different;
}

/// Collects a capture stream's samples: status and time of each, and the newest picture. Fails the test when a picture
/// differs from the one before where no damage was told. Any thread.
class SampleCollector {
  public:
    struct Seen {
        platform::FrameStatus status;
        double hostSeconds;
        bool hasPicture;
    };
    using Picture = std::shared_ptr<const imaging::BgraPremultipliedBuffer>;

    /// Adds itself as the stream's screen output and sets its handlers.
    explicit SampleCollector(platform::CaptureStream& stream) {
        stream.addScreenOutput(queue_, [this](const platform::ScreenSample& sample) {
            const std::lock_guard hold(lock_);
            seen_.push_back({sample.status, sample.hostSeconds, sample.image != nullptr});
            if (sample.image && last_ && sample.damage) {
                EXPECT_EQ(undamagedDifferences(*sample.image, *last_, *sample.damage), 0);
            }
            if (sample.image) last_ = sample.image;
        });
        stream.onStop([this](const RecorderError& error) {
            const std::lock_guard hold(lock_);
            stops_.push_back(error.message());
        });
        stream.onNotice([this](const std::string& notice) {
            const std::lock_guard hold(lock_);
            notices_.push_back(notice);
        });
    }

    std::vector<Seen> seen() const {
        const std::lock_guard hold(lock_);
        return seen_;
    }
    std::vector<std::string> stops() const {
        const std::lock_guard hold(lock_);
        return stops_;
    }
    std::vector<std::string> notices() const {
        const std::lock_guard hold(lock_);
        return notices_;
    }
    Picture picture() const {
        const std::lock_guard hold(lock_);
        return last_;
    }
    int count(platform::FrameStatus status) const {
        int number = 0;
        for (const Seen& one : seen()) number += one.status == status ? 1 : 0;
        return number;
    }
    void drain() { queue_.drain(); }

    /// Waits for a picture that fulfils the condition.
    bool waitForPicture(const std::function<bool(const imaging::BgraPremultipliedBuffer&)>& isSo) const {
        return await([&] {
            const Picture newest = picture();
            return newest && isSo(*newest);
        });
    }
    /// Waits for a picture with this colour, 0xRRGGBB, at a position.
    bool waitForColor(int x, int y, std::uint32_t color) const {
        return waitForPicture([=](const imaging::BgraPremultipliedBuffer& one) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, one.pixel(x, y), 4);
            return pixel == (0xff000000U | color);
        });
    }

  private:
    mutable std::mutex lock_;
    std::vector<Seen> seen_;  // guarded by lock_, as all below
    std::vector<std::string> stops_;
    std::vector<std::string> notices_;
    Picture last_;
    SerialQueue queue_{"test.samples"};  // last: its work uses everything above
};

/// The number of pixels in a picture's rectangle that differ from `colorAt` (0xRRGGBB, coordinates within the
/// rectangle), or are not opaque.
template <typename ColorAt>
int differingPixels(const imaging::BgraPremultipliedBuffer& picture, int x, int y, int width, int height,
                    ColorAt colorAt) {
    int different = 0;
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, picture.pixel(x + column, y + row), 4);
            different += pixel != (0xff000000U | colorAt(column, row)) ? 1 : 0;
        }
    }
    return different;
}

}  // namespace lumivastor
