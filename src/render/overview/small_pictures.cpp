// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/small_pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "imaging/yuv_coefficients.h"
#include "render/overview/recording_overview.h"

namespace lumivastor::render {

namespace {

constexpr double kLeastDistance = 2;
constexpr double kMostPictures = 400;
// Of the first pass; each further one halves it.
constexpr std::size_t kFirstStride = 16;

// The mean of a plane's samples from (left, top) to before (right, bottom), at least one of them.
double mean(const imaging::YuvPlane& plane, int left, int top, int right, int bottom) {
    std::uint64_t sum = 0;
    for (int y = top; y < bottom; ++y) {
        const std::uint8_t* const row = plane.samples + y * plane.stride;
        std::uint32_t line = 0;
        for (int x = left; x < right; ++x) line += row[x];
        sum += line;
    }
    return static_cast<double>(sum) / (static_cast<double>(right - left) * (bottom - top));
}

// The samples of one axis that target sample `index` of `count` covers; never none.
struct Reach {
    int first, end;
};
Reach reach(int index, int count, int samples) {
    const auto at = [&](int i) { return static_cast<int>(static_cast<std::int64_t>(i) * samples / count); };
    const int first = std::min(at(index), samples - 1);
    return {first, std::max(at(index + 1), first + 1)};
}

std::uint8_t byteOf(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

}  // namespace

PixelSize smallPictureSize(PixelSize picture) {
    if (picture.height <= kSmallPictureHeight) return {std::max(picture.width, 1), std::max(picture.height, 1)};
    const double width = static_cast<double>(picture.width) * kSmallPictureHeight / picture.height;
    return {std::max(static_cast<int>(std::lround(width)), 1), kSmallPictureHeight};
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> shrunk(const imaging::YuvPicture& picture, PixelSize size) {
    auto small = std::make_shared<imaging::BgraPremultipliedBuffer>(size.width, size.height);
    const imaging::YuvCoefficients coefficients(picture.encoding);
    constexpr double kNoChroma = 128;
    for (int y = 0; y < size.height; ++y) {
        const Reach rows = reach(y, size.height, picture.height);
        const Reach chromaRows = reach(y, size.height, picture.chromaHeight());
        for (int x = 0; x < size.width; ++x) {
            const Reach columns = reach(x, size.width, picture.width);
            const Reach chroma = reach(x, size.width, picture.chromaWidth());
            const double luma = mean(picture.luma, columns.first, rows.first, columns.end, rows.end);
            const auto of = [&](const imaging::YuvPlane& plane) {
                return mean(plane, chroma.first, chromaRows.first, chroma.end, chromaRows.end) - kNoChroma;
            };
            const double light = luma - coefficients.lumaOffset;
            const double cb = of(picture.cb);
            const double cr = of(picture.cr);
            std::uint8_t* const pixel = small->pixel(x, y);
            pixel[0] = byteOf(coefficients.blue(light, cb));
            pixel[1] = byteOf(coefficients.green(light, cb, cr));
            pixel[2] = byteOf(coefficients.red(light, cr));
            pixel[3] = 255;
        }
    }
    return small;
}

std::vector<std::size_t> smallPictureOrder(std::span<const media::IndexedSample> samples, double duration) {
    const double distance = std::max(kLeastDistance, duration / kMostPictures);
    std::vector<std::size_t> chosen;
    double next = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (!samples[i].isKey) continue;
        const double time = samples[i].decodeTime.seconds();
        constexpr double kRounding = 0.001;
        if (!chosen.empty() && time < next - kRounding) continue;
        chosen.push_back(i);
        next = time + distance;
        // An index whose times do not fit the movie's length.
        if (static_cast<double>(chosen.size()) > kMostPictures) break;
    }
    std::vector<std::size_t> order;
    order.reserve(chosen.size());
    for (std::size_t stride = kFirstStride; stride > 0; stride /= 2) {
        for (std::size_t i = 0; i < chosen.size(); i += stride) {
            const bool isMade = stride < kFirstStride && i % (2 * stride) == 0;
            if (!isMade) order.push_back(chosen[i]);
        }
    }
    return order;
}

}  // namespace lumivastor::render
