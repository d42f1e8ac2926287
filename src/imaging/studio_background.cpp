// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/studio_background.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivastor::imaging {

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

}  // namespace

BackgroundRow backgroundRow(const StudioBackground& background, double x, double y, double spacing) {
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

StudioBackground::StudioBackground(int width_, int height_, const RgbColour& tone_)
    : width(width_), height(height_), tone(tone_) {}

const BgraPremultipliedBuffer& StudioBackground::pixels() const {
    std::call_once(made_, [this] {
        BgraPremultipliedBuffer made(width, height);
        for (int y = 0; y < height; ++y)
            fillBackgroundRow(backgroundRow(*this, 0.5, y + 0.5, 1), y, made.row(y), width);
        pixels_ = std::move(made);
    });
    return pixels_;
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

}  // namespace lumivastor::imaging
