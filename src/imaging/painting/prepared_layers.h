// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <mutex>
#include <optional>

#include "base/geometry.h"
#include "imaging/pixel_buffer.h"
#include "imaging/studio_background.h"

// The layers of a frame that depend on the project's settings alone, drawn once per edit and only placed and stacked
// afterwards. Rectangles are in canvas pixels with the origin at the bottom-left; the buffers' first row is the top one
// as always. Pure functions: any thread, no errors.

namespace lumivastor::imaging {

/// A soft shadow in the terms of drawing programs. The blur is a true Gaussian with a standard deviation of half of
/// `blur`, as in such programs.
struct ShadowStyle {
    double alpha = 0;  // of black
    double blur = 0;   // pixels, at least 0
    double offsetX = 0;
    double offsetY = 0;  // positive is up

    bool operator==(const ShadowStyle&) const = default;
};

/// Below the screen picture.
inline constexpr ShadowStyle kScreenShadow{0.55, 70, 0, -24};
/// Below the webcam bubble.
inline constexpr ShadowStyle kBubbleShadow{0.45, 34, 0, -10};

/// Opaque white inside the rounded rectangle, transparent outside.
BgraPremultipliedBuffer makeRoundedMatte(int width, int height, const Rect& rect, double cornerRadius);

/// The shadow of the rounded rectangle without the rectangle itself.
BgraPremultipliedBuffer makeRoundedShadow(int width, int height, const Rect& rect, double cornerRadius,
                                          const ShadowStyle& style);

/// Opaque white inside the ellipse that touches the rectangle's sides, transparent outside.
BgraPremultipliedBuffer makeEllipseMatte(int width, int height, const Rect& rect);

/// The least width of the bubble's rim, in canvas pixels.
inline constexpr double kLeastBubbleRim = 2.5;

/// What surrounds the webcam's ellipse: its shadow, outside of the ellipse only, and a rim of white at alpha 0.85 just
/// inside its edge, max(1.2 % of the rectangle's width, `leastRim`) wide.
BgraPremultipliedBuffer makeBubbleBorder(int width, int height, const Rect& rect,
                                         const ShadowStyle& style = kBubbleShadow, double leastRim = kLeastBubbleRim);

/// How a mouse click's ring looks before it is scaled.
struct RingStyle {
    int size = 256;         // of the square picture
    double inset = 12;      // from the picture's edges to the line's middle
    double lineWidth = 18;  // pixels
    RgbColour colour{1, 0.42, 0.1};
};

BgraPremultipliedBuffer makeRing(const RingStyle& style = {});

/// Makes prepared layers and remembers the last of each kind, so that an edit that changes one setting draws only the
/// layers which depend on it. Any thread; concurrent callers wait for each other only while storing.
class PreparedLayers {
  public:
    using Layer = std::shared_ptr<const BgraPremultipliedBuffer>;

    std::shared_ptr<const StudioBackground> background(int width, int height, const RgbColour& tone);
    Layer roundedMatte(int width, int height, const Rect& rect, double cornerRadius);
    Layer roundedShadow(int width, int height, const Rect& rect, double cornerRadius,
                        const ShadowStyle& style = kScreenShadow);
    Layer ring();
    Layer ellipseMatte(int width, int height, const Rect& rect);
    Layer bubbleBorder(int width, int height, const Rect& rect, const ShadowStyle& style = kBubbleShadow,
                       double leastRim = kLeastBubbleRim);

  private:
    // Everything that any of the layers depends on.
    struct Inputs {
        int width = 0;
        int height = 0;
        Rect rect{};
        double cornerRadius = 0;
        ShadowStyle style{};
        double leastRim = 0;

        bool operator==(const Inputs&) const = default;
    };
    struct Slot {
        std::optional<Inputs> inputs;
        Layer layer;
    };

    template <typename Make>
    Layer reuseOrMake(Slot& slot, const Inputs& inputs, const Make& make);

    std::mutex lock_;
    std::shared_ptr<const StudioBackground> background_;       // guarded by lock_
    Slot matte_, shadow_, ring_, bubbleMatte_, bubbleBorder_;  // guarded by lock_
};

}  // namespace lumivastor::imaging
