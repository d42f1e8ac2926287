// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/output_layout.h"

#include <algorithm>

namespace lumivastor::wayland {
namespace {

// No desktop scales further, nor makes content smaller than its pixels.
constexpr double kMaximumScale = 8;

bool isPlausible(double scale) {
    return scale >= 1 && scale <= kMaximumScale;
}

bool hasFrame(const Output& output, const PortalSession::Place& place) {
    return place.x && place.y && place.width && place.height && output.frame.x == *place.x &&
           output.frame.y == *place.y && output.frame.width == *place.width && output.frame.height == *place.height;
}

bool hasCorner(const Output& output, const PortalSession::Place& place) {
    return place.x && place.y && output.frame.x == *place.x && output.frame.y == *place.y;
}

const Output* outputOf(PixelSize pixels, const PortalSession::Place& place, const std::vector<Output>& outputs) {
    const auto find = [&](const auto& fits) {
        const auto found = std::find_if(outputs.begin(), outputs.end(), fits);
        return found == outputs.end() ? nullptr : &*found;
    };
    const auto hasPixels = [&](const Output& output) { return output.pixels == pixels; };
    if (const auto* same = find([&](const Output& output) { return hasFrame(output, place) && hasPixels(output); })) {
        return same;
    }
    if (const auto* same = find([&](const Output& output) { return hasCorner(output, place) && hasPixels(output); })) {
        return same;
    }
    if (isTheOnlyOne(pixels, outputs)) return find(hasPixels);
    return find([&](const Output& output) { return hasFrame(output, place); });
}

double toldScale(PixelSize pixels, const PortalSession::Place& place) {
    if (!place.width || *place.width <= 0) return 1;
    const double scale = static_cast<double>(pixels.width) / *place.width;
    return isPlausible(scale) ? scale : 1;
}

}  // namespace

PixelSize uprightSize(PixelSize buffer, const std::vector<Output>& outputs) {
    const auto has = [&](PixelSize size) {
        return std::any_of(outputs.begin(), outputs.end(), [&](const Output& one) { return one.pixels == size; });
    };
    const PixelSize turned{buffer.height, buffer.width};
    return !has(buffer) && has(turned) ? turned : buffer;
}

bool isTheOnlyOne(PixelSize pixels, const std::vector<Output>& outputs) {
    return std::count_if(outputs.begin(), outputs.end(), [&](const Output& one) { return one.pixels == pixels; }) == 1;
}

platform::Display displayOf(std::uint32_t id, PixelSize pixels, const PortalSession::Place& place,
                            const std::vector<Output>& outputs) {
    const Output* const output = outputOf(pixels, place, outputs);
    platform::Display display;
    display.id = id;
    display.name = output != nullptr ? output->name : "";
    display.scale = output != nullptr && isPlausible(output->scale()) ? output->scale() : toldScale(pixels, place);
    display.frame.x = output != nullptr ? output->frame.x : place.x.value_or(0);
    display.frame.y = output != nullptr ? output->frame.y : place.y.value_or(0);
    display.frame.width = pixels.width / display.scale;
    display.frame.height = pixels.height / display.scale;
    return display;
}

double windowScale(PixelSize pixels, const PortalSession::Place& place, const std::vector<Output>& outputs) {
    const auto isSame = [&](const Output& output) { return output.scale() == outputs.front().scale(); };
    if (!outputs.empty() && std::all_of(outputs.begin(), outputs.end(), isSame) &&
        isPlausible(outputs.front().scale())) {
        return outputs.front().scale();
    }
    return toldScale(pixels, place);
}

}  // namespace lumivastor::wayland
