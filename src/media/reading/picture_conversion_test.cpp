// SPDX-License-Identifier: GPL-3.0-or-later
#include "ffmpeg/picture_conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include "imaging/painting/planar_kernels.h"
#include "imaging/picture_pool.h"
#include "media/reading/asset_reader.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

extern "C" {
#include <libavutil/frame.h>
}

namespace lumivastor::media {
namespace {

struct Rgb {
    int red;
    int green;
    int blue;
};

// The textbook formulas, so that tags are held against what they mean and not against another library call.
std::array<int, 3> yuvOf(const Rgb& colour, const imaging::YuvEncoding& encoding) {
    const bool isBt709 = encoding.matrix == imaging::YuvMatrix::bt709;
    const double redWeight = isBt709 ? 0.2126 : 0.299;
    const double blueWeight = isBt709 ? 0.0722 : 0.114;
    const double red = colour.red / 255.0;
    const double green = colour.green / 255.0;
    const double blue = colour.blue / 255.0;
    const double luma = redWeight * red + (1 - redWeight - blueWeight) * green + blueWeight * blue;
    const double cb = (blue - luma) / (2 * (1 - blueWeight));
    const double cr = (red - luma) / (2 * (1 - redWeight));
    const bool isLimited = encoding.range == imaging::YuvRange::limited;
    const auto code = [](double value) { return std::clamp(static_cast<int>(std::lround(value)), 0, 255); };
    return {code(isLimited ? 16 + 219 * luma : 255 * luma), code(128 + (isLimited ? 224 : 255) * cb),
            code(128 + (isLimited ? 224 : 255) * cr)};
}

std::vector<Rgb> colours() {
    std::vector<Rgb> all;
    for (const int red : {0, 64, 180, 255}) {
        for (const int green : {0, 100, 255}) {
            for (const int blue : {0, 130, 255}) all.push_back({red, green, blue});
        }
    }
    return all;
}

std::vector<imaging::YuvEncoding> encodings() {
    return {{imaging::YuvMatrix::bt709, imaging::YuvRange::limited},
            {imaging::YuvMatrix::bt709, imaging::YuvRange::full},
            {imaging::YuvMatrix::bt601, imaging::YuvRange::limited},
            {imaging::YuvMatrix::bt601, imaging::YuvRange::full}};
}

void fill(const imaging::YuvDestination& picture, const std::array<int, 3>& yuv) {
    for (int y = 0; y < picture.height; ++y) {
        std::fill_n(picture.luma + y * picture.lumaStride, picture.width, static_cast<std::uint8_t>(yuv[0]));
    }
    for (int y = 0; y < (picture.height + 1) / 2; ++y) {
        const std::ptrdiff_t row = y * picture.chromaStride;
        std::fill_n(picture.cb + row, (picture.width + 1) / 2, static_cast<std::uint8_t>(yuv[1]));
        std::fill_n(picture.cr + row, (picture.width + 1) / 2, static_cast<std::uint8_t>(yuv[2]));
    }
}

TEST(PictureConversion, HonoursTheTagsOfWhatIsRead) {
    const std::vector<Rgb> all = colours();
    for (const imaging::YuvEncoding& encoding : encodings()) {
        const TemporaryFolder folder;
        TestMovieOptions options;
        options.width = 64;
        options.height = 64;
        options.pictures = static_cast<int>(all.size());
        options.bitRate = 4000000;
        options.keyFrameInterval = 1;
        options.encoding = encoding;
        options.paint = [&](int index, const imaging::YuvDestination& picture) {
            fill(picture, yuvOf(all[static_cast<std::size_t>(index)], encoding));
        };
        makeTestMovie(folder / "a.mov", options);
        const auto asset = std::make_shared<const Asset>(folder / "a.mov");
        const int track = asset->tracks().at(0).id;
        EXPECT_TRUE(asset->tracks().at(0).colourTagged);
        EXPECT_EQ(asset->tracks().at(0).encoding, encoding);
        AssetReader reader(asset);
        auto& converted = reader.addVideoOutput(track, PictureFormat::bgraPremultiplied);
        auto& planar = reader.addVideoOutput(track, PictureFormat::planar);
        ASSERT_TRUE(reader.startReading());
        for (const Rgb& colour : all) {
            const auto picture = converted.copyNextSample();
            const auto planes = planar.copyNextSample();
            ASSERT_TRUE(picture && planes);
            EXPECT_EQ(planes->planar().encoding, encoding);
            const std::uint8_t* const pixel = picture->bgra().pixel(31, 31);
            EXPECT_LE(std::abs(pixel[0] - colour.blue), 2);
            EXPECT_LE(std::abs(pixel[1] - colour.green), 2);
            EXPECT_LE(std::abs(pixel[2] - colour.red), 2);
            EXPECT_EQ(pixel[3], 255);
        }
    }
}

TEST(PictureConversion, PlanarValuesAreWhatTheFormulasSay) {
    for (const imaging::YuvEncoding& encoding : encodings()) {
        imaging::PicturePool pool(34, 18, encoding);
        for (const Rgb& colour : colours()) {
            const auto source = pool.makeBgra();
            for (int y = 0; y < 18; ++y) {
                for (int x = 0; x < 34; ++x) {
                    std::uint8_t* const pixel = source->pixel(x, y);
                    pixel[0] = static_cast<std::uint8_t>(colour.blue);
                    pixel[1] = static_cast<std::uint8_t>(colour.green);
                    pixel[2] = static_cast<std::uint8_t>(colour.red);
                    pixel[3] = 255;
                }
            }
            const auto target = pool.makePlanar();
            imaging::convertToPlanar(*source, target->destination());
            const std::array<int, 3> expected = yuvOf(colour, encoding);
            const imaging::YuvDestination& planes = target->destination();
            for (const int at : {0, 8, 16}) {
                const std::ptrdiff_t chroma = at / 2 * planes.chromaStride + at / 2;
                EXPECT_LE(std::abs(planes.luma[at * planes.lumaStride + at] - expected[0]), 1);
                EXPECT_LE(std::abs(planes.cb[chroma] - expected[1]), 1);
                EXPECT_LE(std::abs(planes.cr[chroma] - expected[2]), 1);
            }
        }
    }
}

// A picture that is blue left of column `edge` and red from there on, or above and below; both are as bright.
constexpr int kEdgeSize = 64;
constexpr Rgb kLeft{40, 100, 226};
constexpr Rgb kRight{200, 66, 90};

std::shared_ptr<imaging::BgraPremultipliedBuffer> withEdge(int edge, bool upright) {
    auto picture = std::make_shared<imaging::BgraPremultipliedBuffer>(kEdgeSize, kEdgeSize);
    for (int y = 0; y < kEdgeSize; ++y) {
        for (int x = 0; x < kEdgeSize; ++x) {
            const Rgb& colour = (upright ? x : y) < edge ? kLeft : kRight;
            std::uint8_t* const pixel = picture->pixel(x, y);
            pixel[0] = static_cast<std::uint8_t>(colour.blue);
            pixel[1] = static_cast<std::uint8_t>(colour.green);
            pixel[2] = static_cast<std::uint8_t>(colour.red);
            pixel[3] = 255;
        }
    }
    return picture;
}

// Where the edge lies in what came out: as far along as there is left colour.
double edgeIn(const imaging::BgraPremultipliedBuffer& picture, bool upright) {
    double left = 0;
    for (int i = 0; i < kEdgeSize; ++i) {
        const std::uint8_t* const pixel = upright ? picture.pixel(i, kEdgeSize / 2) : picture.pixel(kEdgeSize / 2, i);
        left += (pixel[0] - kRight.blue) / double(kLeft.blue - kRight.blue);
    }
    return left;
}

AVFrame viewOf(const imaging::YuvDestination& planes, int location) {
    AVFrame frame{};
    frame.width = planes.width;
    frame.height = planes.height;
    frame.format = AV_PIX_FMT_YUV420P;
    frame.colorspace = AVCOL_SPC_BT709;
    frame.color_range = AVCOL_RANGE_MPEG;
    frame.chroma_location = static_cast<AVChromaLocation>(location);
    frame.data[0] = planes.luma;
    frame.data[1] = planes.cb;
    frame.data[2] = planes.cr;
    frame.linesize[0] = static_cast<int>(planes.lumaStride);
    frame.linesize[1] = frame.linesize[2] = static_cast<int>(planes.chromaStride);
    return frame;
}

TEST(PictureConversion, ColoursStayWhereTheirEdgeIs) {
    imaging::PicturePool pool(kEdgeSize, kEdgeSize, {});
    ffmpeg::PictureConverter converter;
    for (const bool upright : {true, false}) {
        for (int edge = 20; edge < 36; ++edge) {
            const auto planar = pool.makePlanar();
            imaging::convertToPlanar(*withEdge(edge, upright), planar->destination());
            for (const int location : {AVCHROMA_LOC_UNSPECIFIED, AVCHROMA_LOC_LEFT}) {
                const auto back = converter.bgra(viewOf(planar->destination(), location));
                EXPECT_NEAR(edgeIn(*back, upright), edge, 0.1) << upright;
            }
        }
    }
}

// The check video's way: read, drawn on, written; as often as somebody records one again.
TEST(PictureConversion, ColoursDoNotWanderOnTheWayThereAndBack) {
    imaging::PicturePool pool(kEdgeSize, kEdgeSize, {});
    ffmpeg::PictureConverter converter;
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture = withEdge(31, true);
    for (int round = 0; round < 4; ++round) {
        const auto planar = pool.makePlanar();
        imaging::convertToPlanar(*picture, planar->destination());
        picture = converter.bgra(viewOf(planar->destination(), AVCHROMA_LOC_UNSPECIFIED));
    }
    EXPECT_NEAR(edgeIn(*picture, true), 31, 0.2);
}

TEST(PictureConversion, ColoursSitWhereAPictureSaysThatTheySit) {
    imaging::PicturePool pool(kEdgeSize, kEdgeSize, {});
    ffmpeg::PictureConverter converter;
    const auto planar = pool.makePlanar();
    imaging::convertToPlanar(*withEdge(31, true), planar->destination());
    // Half a column further right than the samples were made for.
    const auto centred = converter.bgra(viewOf(planar->destination(), AVCHROMA_LOC_CENTER));
    EXPECT_NEAR(edgeIn(*centred, true), 31.5, 0.1);
}

TEST(PictureConversion, ColoursOfOtherSamplingsAreSitedLikeOurs) {
    // 4:2:2 with samples at the left one of two columns, and 4:4:4, become 4:2:0.
    imaging::PicturePool pool(kEdgeSize, kEdgeSize, {});
    ffmpeg::PictureConverter converter;
    for (const bool full : {false, true}) {
        for (const int edge : {30, 31}) {
            const auto colour = [&](int column) { return column < edge ? 200 : 60; };
            const int columns = full ? kEdgeSize : kEdgeSize / 2;
            std::vector<std::uint8_t> luma(kEdgeSize * kEdgeSize, 100);
            std::vector<std::uint8_t> blue(static_cast<std::size_t>(columns) * kEdgeSize);
            for (std::size_t i = 0; i < blue.size(); ++i) {
                const int column = static_cast<int>(i) % columns;
                blue[i] = static_cast<std::uint8_t>(
                    full ? colour(column)
                         : (colour(2 * column - 1) + 2 * colour(2 * column) + colour(2 * column + 1)) / 4);
            }
            AVFrame frame = viewOf(pool.makePlanar()->destination(), AVCHROMA_LOC_UNSPECIFIED);
            frame.format = full ? AV_PIX_FMT_YUV444P : AV_PIX_FMT_YUV422P;
            frame.data[0] = luma.data();
            frame.data[1] = frame.data[2] = blue.data();
            frame.linesize[0] = kEdgeSize;
            frame.linesize[1] = frame.linesize[2] = columns;
            const imaging::YuvPicture picture = converter.planar(frame);
            double left = 0;
            for (int i = 0; i < kEdgeSize / 2; ++i) {
                left += (picture.cb.samples[5 * picture.cb.stride + i] - 60) / 140.0;
            }
            // A sample stands for the two columns around the one that it sits at.
            EXPECT_NEAR(2 * left - 0.5, edge, 0.1) << full;
        }
    }
}

TEST(PicturePool, GivesMemoryBackAndOutlivesNobody) {
    std::shared_ptr<imaging::PlanarBuffer> kept;
    {
        imaging::PicturePool pool(64, 64, {});
        const std::uint8_t* first = nullptr;
        {
            const auto picture = pool.makePlanar();
            first = picture->destination().luma;
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 64, 0u);
            EXPECT_NE(pool.makePlanar()->destination().luma, first);
        }
        kept = pool.makePlanar();
        EXPECT_EQ(kept->destination().luma, first);
    }
    kept->destination().luma[0] = 1;  // still there after the pool
}

}  // namespace
}  // namespace lumivastor::media
