// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/background_planes.h"

#include "imaging/background_kernels.h"
#include "imaging/painting/paint_kernels.h"
#include "imaging/yuv_coefficients.h"

namespace lumivastor::imaging {

namespace {

// Weights of blue, green and red in one plane, by what it makes of each alone.
template <typename Value>
LevelWeights weightsOf(const Value& value) {
    LevelWeights weights;
    weights.blue = static_cast<float>(value(0, 0, 1));
    weights.green = static_cast<float>(value(0, 1, 0));
    weights.red = static_cast<float>(value(1, 0, 0));
    return weights;
}

SourcePlanes levelPlanes(int width, int height) {
    SourcePlanes planes;
    planes.width = width;
    planes.height = height;
    planes.stride = (width + 31) / 32 * 32;
    planes.opaque = true;
    return planes;
}

template <typename Levels>
void resize(const SourcePlanes& planes, Levels& levels) {
    levels.resize(static_cast<std::size_t>(planes.stride) * static_cast<std::size_t>(planes.height));
}

}  // namespace

SourcePlanes lumaOf(const StudioBackground& background, const YuvEncoding& encoding) {
    const YuvCoefficients yuv(encoding);
    const LevelWeights weights =
        weightsOf([&](double red, double green, double blue) { return yuv.luma(red, green, blue); });
    SourcePlanes planes = levelPlanes(background.width, background.height);
    resize(planes, planes.levels[0]);
    for (int y = 0; y < planes.height; ++y) {
        fillBackgroundLevels(backgroundRow(background, 0.5, y + 0.5, 1), weights, y,
                             planes.levels[0].data() + y * planes.stride, planes.width);
    }
    return planes;
}

SourcePlanes chromaOf(const StudioBackground& background, const YuvEncoding& encoding) {
    const YuvCoefficients yuv(encoding);
    const LevelWeights weights[] = {
        weightsOf([&](double red, double green, double blue) { return yuv.cb(red, green, blue); }),
        weightsOf([&](double red, double green, double blue) { return yuv.cr(red, green, blue); })};
    SourcePlanes planes = levelPlanes((background.width + 1) / 2, (background.height + 1) / 2);
    for (std::size_t i = 0; i < 2; ++i) {
        resize(planes, planes.levels[i]);
        for (int y = 0; y < planes.height; ++y) {
            // At the left one of two columns, between two rows. Both planes at once would tint single pixels twice as
            // much, so each has its pattern elsewhere.
            fillBackgroundLevels(backgroundRow(background, 0.5, 2 * y + 1, 2), weights[i], y + 3 * static_cast<int>(i),
                                 planes.levels[i].data() + y * planes.stride, planes.width);
        }
    }
    return planes;
}

}  // namespace lumivastor::imaging
