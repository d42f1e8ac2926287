#include "imaging/studio_background.h"

#include <algorithm>
#include <cmath>

#include "imaging/layer_kernels.h"
#include "imaging/paint_kernels.h"
#include "imaging/resampling.h"

namespace lumivastor {

namespace {

constexpr double kLight = 1.45;
constexpr double kDark = 0.55;
constexpr double kHighlightAlpha = 0.08;
constexpr double kHighlightReach = 0.6;  // of the width
// Of width and height, from the top left.
constexpr double kHighlightX = 0.5;
constexpr double kHighlightY = 0.45;

double limited(double value) {
    return std::clamp(value, 0.0, 1.0);
}

// A row of samples, the first of which lies at (x, y), `spacing` pixels apart.
BackgroundRow rowOf(const StudioBackground& background, double x, double y, double spacing) {
    const double channels[3] = {background.tone.blue, background.tone.green, background.tone.red};
    const double width = background.width;
    const double height = background.height;
    BackgroundRow row;
    for (int i = 0; i < 3; ++i) {
        const double light = limited(channels[i] * kLight);
        row.light[i] = static_cast<float>(light * 255);
        row.change[i] = static_cast<float>((limited(channels[i] * kDark) - light) * 255);
    }
    // Along the diagonal from the top-left corner to the bottom-right one the gradient runs from 0 to 1.
    const double diagonal = width * width + height * height;
    row.gradientStart = static_cast<float>((x * width + y * height) / diagonal);
    row.gradientStep = static_cast<float>(spacing * width / diagonal);
    row.spacing = static_cast<float>(spacing);
    row.highlightX = static_cast<float>(width * kHighlightX - x);
    row.highlightY = static_cast<float>(y - height * kHighlightY);
    row.highlightReach = static_cast<float>(width * kHighlightReach);
    row.highlightAlpha = static_cast<float>(kHighlightAlpha);
    return row;
}

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

void resize(const SourcePlanes& planes, std::vector<std::int16_t>& levels) {
    levels.resize(static_cast<std::size_t>(planes.stride) * static_cast<std::size_t>(planes.height));
}

}  // namespace

StudioBackground::StudioBackground(int width_, int height_, const RgbColour& tone_)
    : width(width_), height(height_), tone(tone_), pixels(width_, height_) {
    for (int y = 0; y < height; ++y) fillBackgroundRow(rowOf(*this, 0.5, y + 0.5, 1), y, pixels.row(y), width);
}

RgbColour StudioBackground::colourAt(double x, double y) const {
    const double gradient = (x * width + y * height) / (double{1} * width * width + double{1} * height * height);
    const double distance = std::hypot(x - width * kHighlightX, y - height * kHighlightY);
    const double highlight = std::max(kHighlightAlpha * (1 - distance / (width * kHighlightReach)), 0.0);
    const auto shown = [&](double channel) {
        const double light = limited(channel * kLight);
        const double value = light + (limited(channel * kDark) - light) * gradient;
        return value + (1 - value) * highlight;
    };
    return {shown(tone.red), shown(tone.green), shown(tone.blue)};
}

SourcePlanes lumaOf(const StudioBackground& background, const YuvEncoding& encoding) {
    const YuvCoefficients yuv(encoding);
    const LevelWeights weights =
        weightsOf([&](double red, double green, double blue) { return yuv.luma(red, green, blue); });
    SourcePlanes planes = levelPlanes(background.width, background.height);
    resize(planes, planes.levels[0]);
    for (int y = 0; y < planes.height; ++y) {
        fillBackgroundLevels(rowOf(background, 0.5, y + 0.5, 1), weights, y,
                             planes.levels[0].data() + y * planes.stride, planes.width);
    }
    return planes;
}

SourcePlanes colourDifferencesOf(const StudioBackground& background, const YuvEncoding& encoding) {
    const YuvCoefficients yuv(encoding);
    const LevelWeights weights[] = {
        weightsOf([&](double red, double green, double blue) { return yuv.blueDifference(red, green, blue); }),
        weightsOf([&](double red, double green, double blue) { return yuv.redDifference(red, green, blue); })};
    SourcePlanes planes = levelPlanes((background.width + 1) / 2, (background.height + 1) / 2);
    for (std::size_t i = 0; i < 2; ++i) {
        resize(planes, planes.levels[i]);
        for (int y = 0; y < planes.height; ++y) {
            // At the left one of two columns, between two rows. Both planes at once would tint single pixels twice as
            // much, so each has its pattern elsewhere.
            fillBackgroundLevels(rowOf(background, 0.5, 2 * y + 1, 2), weights[i], y + 3 * static_cast<int>(i),
                                 planes.levels[i].data() + y * planes.stride, planes.width);
        }
    }
    return planes;
}

}  // namespace lumivastor
