#include "media/planar_kernels.h"

#include <gtest/gtest.h>

#include <hwy/highway.h>

#include <cstdlib>
#include <random>
#include <vector>

#include "media/picture_pool.h"

namespace lumivastor {
namespace {

// Every plane of both, the padding that neither may touch included.
void expectAlmostEqual(const PlanarBuffer& actual, const PlanarBuffer& expected, const std::string& what) {
    const YuvDestination& a = actual.destination();
    const YuvDestination& b = expected.destination();
    int worst = 0;
    for (int y = 0; y < a.height; ++y) {
        for (int x = 0; x < a.lumaStride; ++x) {
            const int error = std::abs(a.luma[y * a.lumaStride + x] - b.luma[y * b.lumaStride + x]);
            worst = std::max(worst, error);
        }
    }
    for (int y = 0; y < (a.height + 1) / 2; ++y) {
        for (int x = 0; x < a.chromaStride; ++x) {
            const std::ptrdiff_t at = y * a.chromaStride + x;
            worst = std::max(worst, std::abs(a.blueDifference[at] - b.blueDifference[at]));
            worst = std::max(worst, std::abs(a.redDifference[at] - b.redDifference[at]));
        }
    }
    EXPECT_LE(worst, 1) << what;
}

std::shared_ptr<PlanarBuffer> cleared(PicturePool& pool) {
    auto picture = pool.makePlanar();
    const YuvDestination& planes = picture->destination();
    const auto rows = static_cast<std::size_t>(planes.height + planes.height % 2);
    std::fill_n(planes.luma, static_cast<std::size_t>(planes.lumaStride) * rows, std::uint8_t{7});
    std::fill_n(planes.blueDifference, static_cast<std::size_t>(planes.chromaStride) * rows / 2, std::uint8_t{7});
    std::fill_n(planes.redDifference, static_cast<std::size_t>(planes.chromaStride) * rows / 2, std::uint8_t{7});
    return picture;
}

TEST(PlanarKernels, AreWithinOneOfThePlainWordsOnEveryInstructionSet) {
    std::mt19937 random(17);
    const std::vector<YuvEncoding> encodings{{YuvMatrix::bt709, YuvRange::limited},
                                             {YuvMatrix::bt709, YuvRange::full},
                                             {YuvMatrix::bt601, YuvRange::limited},
                                             {YuvMatrix::bt601, YuvRange::full}};
    std::vector<int> sizes{1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 130};
    for (const int width : sizes) {
        for (const int height : {1, 2, 5, 6}) {
            for (const YuvEncoding& encoding : encodings) {
                PicturePool pool(width, height, encoding);
                const auto source = pool.makeBgra();
                const bool extremes = random() % 2 == 0;
                for (int y = 0; y < height; ++y) {
                    for (int i = 0; i < width * 4; ++i) {
                        const auto value = static_cast<std::uint8_t>(random());
                        source->row(y)[i] = extremes ? static_cast<std::uint8_t>(value < 128 ? 0 : 255) : value;
                    }
                }
                const auto expected = cleared(pool);
                convertToPlanarPlainly(*source, expected->destination());
                for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
                    hwy::SetSupportedTargetsForTest(target);
                    const auto actual = cleared(pool);
                    convertToPlanar(*source, actual->destination());
                    expectAlmostEqual(
                        *actual, *expected,
                        std::to_string(width) + " x " + std::to_string(height) + " on " + hwy::TargetName(target));
                    hwy::SetSupportedTargetsForTest(0);
                }
            }
        }
    }
}

TEST(PlanarKernels, GreysAreExactlyGreyWhateverTheAlpha) {
    PicturePool pool(256, 4, {});
    const auto source = pool.makeBgra();
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 256; ++x) {
            std::uint8_t* const pixel = source->pixel(x, y);
            pixel[0] = pixel[1] = pixel[2] = static_cast<std::uint8_t>(x);
            pixel[3] = static_cast<std::uint8_t>(y * 85);
        }
    }
    const auto target = pool.makePlanar();
    convertToPlanar(*source, target->destination());
    const YuvDestination& planes = target->destination();
    for (int x = 0; x < 256; ++x) {
        EXPECT_NEAR(planes.luma[x], 16 + x * 219.0 / 255, 0.51) << x;
        EXPECT_EQ(planes.luma[3 * planes.lumaStride + x], planes.luma[x]);
        EXPECT_EQ(planes.blueDifference[x / 2], 128);
        EXPECT_EQ(planes.redDifference[x / 2], 128);
    }
}

}  // namespace
}  // namespace lumivastor
