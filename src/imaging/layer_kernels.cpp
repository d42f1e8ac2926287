#include "imaging/layer_kernels.h"

#include <cstddef>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/layer_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace lumivastor {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

void fillBackgroundRow(const BackgroundRow& row, std::uint8_t* pixels, int width) {
    // No wider than the rows' padding, which takes what the last vector has too much.
    const hn::CappedTag<float, 16> floats;
    const hn::Rebind<std::int32_t, decltype(floats)> ints;
    const auto lanes = static_cast<int>(hn::Lanes(floats));
    const auto zero = hn::Zero(floats);
    const auto alpha = hn::Set(floats, row.highlightAlpha);
    const auto perReach = hn::Set(floats, -row.highlightAlpha / row.highlightReach);
    const auto white = hn::Set(floats, 255.0F);
    const auto squareY = hn::Set(floats, row.highlightY * row.highlightY);
    const auto start = hn::Set(floats, row.gradientStart);
    const auto step = hn::Set(floats, row.gradientStep);
    const auto middle = hn::Set(floats, row.highlightX);
    const auto blue = hn::Set(floats, row.light[0]);
    const auto green = hn::Set(floats, row.light[1]);
    const auto red = hn::Set(floats, row.light[2]);
    const auto blueChange = hn::Set(floats, row.change[0]);
    const auto greenChange = hn::Set(floats, row.change[1]);
    const auto redChange = hn::Set(floats, row.change[2]);
    const auto opaque = hn::Set(ints, static_cast<std::int32_t>(0xff000000U));
    for (int x = 0; x < width; x += lanes) {
        const auto position = hn::ConvertTo(floats, hn::Iota(ints, x));
        const auto gradient = hn::Add(hn::Mul(position, step), start);
        const auto across = hn::Sub(position, middle);
        const auto distance = hn::Sqrt(hn::Add(hn::Mul(across, across), squareY));
        const auto highlight = hn::Max(hn::Add(hn::Mul(distance, perReach), alpha), zero);
        const auto shown = [&](auto light, auto change) HWY_ATTR {
            const auto tone = hn::Add(hn::Mul(gradient, change), light);
            return hn::NearestInt(hn::Add(tone, hn::Mul(hn::Sub(white, tone), highlight)));
        };
        const auto low = hn::Or(shown(blue, blueChange), hn::ShiftLeft<8>(shown(green, greenChange)));
        const auto high = hn::Or(opaque, hn::ShiftLeft<16>(shown(red, redChange)));
        hn::StoreU(hn::Or(low, high), ints,
                   reinterpret_cast<std::int32_t*>(pixels + static_cast<std::ptrdiff_t>(x) * 4));
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace lumivastor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lumivastor {

HWY_EXPORT(fillBackgroundRow);

void fillBackgroundRow(const BackgroundRow& row, std::uint8_t* pixels, int width) {
    HWY_DYNAMIC_DISPATCH(fillBackgroundRow)(row, pixels, width);
}

}  // namespace lumivastor
#endif
