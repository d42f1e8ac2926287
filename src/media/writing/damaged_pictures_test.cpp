// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <vector>

#include "imaging/painting/planar_kernels.h"
#include "media/writing/asset_writer.h"
#include "support/await.h"
#include "support/temporary_folder.h"

namespace lumivastor::media {
namespace {

// What an encoder was given.
struct Given {
    std::shared_ptr<imaging::PlanarBuffer> picture;
    imaging::KnownDamage damage;
};

// An encoder that keeps many pictures for a while, as one does that compares with earlier ones.
class KeepingEncoder final : public PictureEncoder {
  public:
    KeepingEncoder(const VideoSettings& settings, std::function<void(const Given&)> check)
        : encoder_(settings), check_(std::move(check)) {}

    ffmpeg::CodecParametersHandle parameters() const override { return encoder_.parameters(); }
    void encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage,
                std::int64_t ticks, const PacketConsumer& consume) override {
        check_({picture, damage});
        kept_.push_back(picture);
        while (random_() % 3 != 0 && !kept_.empty())
            kept_.erase(kept_.begin() + static_cast<int>(random_() % kept_.size()));
        encoder_.encode(picture, damage, ticks, consume);
    }
    void repeat(std::int64_t ticks, const PacketConsumer& consume) override { encoder_.repeat(ticks, consume); }
    void finish(const PacketConsumer& consume) override { encoder_.finish(consume); }

  private:
    VideoEncoder encoder_;
    std::function<void(const Given&)> check_;
    std::vector<std::shared_ptr<imaging::PlanarBuffer>> kept_;
    std::mt19937 random_{1};
};

bool isSame(const imaging::YuvDestination& one, const imaging::YuvDestination& other) {
    const auto rows = [](const std::uint8_t* a, const std::uint8_t* b, std::ptrdiff_t stride, int width, int height) {
        for (int y = 0; y < height; ++y) {
            if (std::memcmp(a + y * stride, b + y * stride, static_cast<std::size_t>(width)) != 0) return false;
        }
        return true;
    };
    const int width = (one.width + 1) / 2;
    const int height = (one.height + 1) / 2;
    return rows(one.luma, other.luma, one.lumaStride, one.width, one.height) &&
           rows(one.cb, other.cb, one.chromaStride, width, height) &&
           rows(one.cr, other.cr, one.chromaStride, width, height);
}

// Whether the pictures differ in a sample that no rectangle holds.
bool differBeyond(const imaging::DamageArea& damage, const imaging::YuvDestination& one,
                  const imaging::YuvDestination& other) {
    for (int y = 0; y < one.height; ++y) {
        for (int x = 0; x < one.width; ++x) {
            const std::ptrdiff_t luma = y * one.lumaStride + x;
            const std::ptrdiff_t chroma = y / 2 * one.chromaStride + x / 2;
            const bool isTold = std::any_of(damage.rects().begin(), damage.rects().end(), [&](const PixelRect& rect) {
                return rect.contains({x, y, 1, 1});
            });
            if (!isTold && (one.luma[luma] != other.luma[luma] || one.cb[chroma] != other.cb[chroma] ||
                            one.cr[chroma] != other.cr[chroma])) {
                return true;
            }
        }
    }
    return false;
}

struct Size {
    int width;
    int height;
};

class DamagedPictures : public testing::TestWithParam<Size> {};

TEST_P(DamagedPictures, AreConvertedAsIfWhole) {
    const int width = GetParam().width;
    const int height = GetParam().height;
    const TemporaryFolder folder;
    std::mt19937 random(7);
    const auto pick = [&](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    // What was appended, first to last, as it ought to arrive.
    std::mutex lock;
    std::deque<std::shared_ptr<const imaging::BgraPremultipliedBuffer>> appended;  // guarded by lock
    std::shared_ptr<imaging::PlanarBuffer> before;
    int compared = 0;
    VideoSettings settings;
    settings.width = width;
    settings.height = height;
    settings.averageBitRate = 1'000'000;
    settings.make = [&](const VideoSettings& video) {
        return std::make_unique<KeepingEncoder>(video, [&](const Given& given) {
            const auto source = [&] {
                const std::lock_guard hold(lock);
                const auto first = appended.front();
                appended.pop_front();
                return first;
            }();
            auto whole = std::make_shared<imaging::PlanarBuffer>(width, height, imaging::YuvEncoding{});
            imaging::convertToPlanar(*source, whole->destination());
            EXPECT_TRUE(isSame(given.picture->destination(), whole->destination())) << compared;
            if (before && given.damage) {
                EXPECT_FALSE(differBeyond(*given.damage, whole->destination(), before->destination())) << compared;
            }
            before = whole;
            ++compared;
        });
    };
    AssetWriter writer(folder.path() / "a.mov", MovieContainer::quickTime);
    VideoWriterInput& input = writer.addVideoInput(settings);
    ASSERT_TRUE(writer.startWriting());
    writer.startSession(MediaTime{0, 600});
    imaging::BgraPremultipliedBuffer screen(width, height);
    constexpr int kPictures = 200;
    // The first ones come before the session.
    for (int i = -10; i < kPictures; ++i) {
        imaging::DamageArea damage;
        for (int rects = pick(4); rects > 0; --rects) {
            const PixelRect rect = intersection({pick(width + 4) - 2, pick(height + 4) - 2, 1 + pick(12), 1 + pick(9)},
                                                {0, 0, width, height});
            damage.add(rect);
            for (int y = rect.y; y < rect.maxY(); ++y) {
                for (int b = rect.x * 4; b < rect.maxX() * 4; ++b)
                    screen.row(y)[b] = static_cast<std::uint8_t>(random());
            }
        }
        const auto picture = std::make_shared<const imaging::BgraPremultipliedBuffer>(screen.copy());
        const MediaTime time{i * 10, 600};
        ASSERT_TRUE(await([&] { return input.isReadyForMoreMediaData(); }));
        if (i >= 0) {
            const std::lock_guard hold(lock);
            appended.push_back(picture);
        }
        ASSERT_TRUE(input.append(picture, time, pick(20) == 0 ? imaging::KnownDamage() : damage));
    }
    input.markAsFinished();
    EXPECT_TRUE(writer.finishWriting());
    EXPECT_EQ(compared, kPictures);
}

INSTANTIATE_TEST_SUITE_P(Sizes, DamagedPictures,
                         testing::Values(Size{64, 48}, Size{131, 35}, Size{2, 2}, Size{50, 64}));

}  // namespace
}  // namespace lumivastor::media
