// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/movie_picture.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "media/reading/asset.h"
#include "render/overview/small_pictures.h"

namespace lumivastor::render {

namespace {

using Picture = std::shared_ptr<const imaging::BgraPremultipliedBuffer>;

// Differences up to this come from coding one colour.
constexpr int kNoise = 6;

bool showsSomething(const imaging::BgraPremultipliedBuffer& picture) {
    const std::uint8_t* const first = picture.row(0);
    for (int y = 0; y < picture.height(); ++y) {
        const std::uint8_t* const row = picture.row(y);
        for (int x = 0; x < picture.width(); ++x) {
            for (int i = 0; i < 3; ++i) {
                if (std::abs(row[4 * x + i] - first[i]) > kNoise) return true;
            }
        }
    }
    return false;
}

}  // namespace

PixelSize moviePictureSize(PixelSize movie) {
    const double width = std::max(movie.width, 1);
    const double height = std::max(movie.height, 1);
    const double scale = std::min({kMoviePictureSize.width / width, kMoviePictureSize.height / height, 1.0});
    return {std::max(static_cast<int>(std::lround(width * scale)), 1),
            std::max(static_cast<int>(std::lround(height * scale)), 1)};
}

std::vector<std::size_t> moviePictureOrder(std::span<const media::IndexedSample> samples) {
    std::vector<std::size_t> keys;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (samples[i].isKey) keys.push_back(i);
    }
    std::vector<std::size_t> order;
    if (keys.empty()) return order;
    const double end = samples.back().decodeTime.seconds();
    for (const double part : {1.0 / 3, 2.0 / 3, 0.0}) {
        const auto distance = [&](std::size_t key) { return std::abs(samples[key].decodeTime.seconds() - end * part); };
        const std::size_t nearest = *std::min_element(
            keys.begin(), keys.end(), [&](std::size_t a, std::size_t b) { return distance(a) < distance(b); });
        if (std::find(order.begin(), order.end(), nearest) == order.end()) order.push_back(nearest);
    }
    return order;
}

Picture makeMoviePicture(const std::filesystem::path& movie) {
    const auto asset = std::make_shared<const media::Asset>(movie);
    const std::vector<media::AssetTrack> tracks = asset->tracks(media::TrackKind::video);
    if (tracks.empty()) return nullptr;
    media::KeyPictures pictures(asset, tracks.front().id);
    const std::vector<media::IndexedSample> samples = pictures.index();
    Picture first;
    for (const std::size_t sample : moviePictureOrder(samples)) {
        const auto decoded = pictures.decode(samples[sample].decodeTime);
        if (!decoded) continue;
        Picture made = shrunk(decoded->samples, moviePictureSize({decoded->samples.width, decoded->samples.height}));
        if (showsSomething(*made)) return made;
        if (!first) first = std::move(made);
    }
    return first;
}

Picture moviePicture(const std::filesystem::path& movie, const OverviewCache& cache) {
    const std::optional<std::uint64_t> identity = movieIdentity(movie);
    if (identity) {
        if (auto kept = cache.loadPicture(*identity)) return kept;
    }
    Picture made = makeMoviePicture(movie);
    if (identity && made) cache.storePicture(*made, *identity);
    return made;
}

}  // namespace lumivastor::render
