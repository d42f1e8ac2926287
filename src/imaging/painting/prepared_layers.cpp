// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/prepared_layers.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "base/precondition.h"
#include "imaging/painting/gaussian_shadow.h"

namespace lumivastor::imaging {

namespace {

// Draws into a buffer: Cairo's ARGB32 is our blue, green, red, alpha in memory on the little-endian machines that this
// runs on. The origin is the top-left.
class Drawing {
  public:
    explicit Drawing(BgraPremultipliedBuffer& buffer)
        : surface_(cairo_image_surface_create_for_data(buffer.row(0), CAIRO_FORMAT_ARGB32, buffer.width(),
                                                       buffer.height(), static_cast<int>(buffer.stride()))),
          context_(cairo_create(surface_)) {
        if (isOutOfMemory()) {
            release();
            throw std::bad_alloc();
        }
        precondition(cairo_status(context_) == CAIRO_STATUS_SUCCESS, "a buffer can be drawn into");
    }
    ~Drawing() { release(); }
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;

    operator cairo_t*() { return context_; }

    /// Throws std::bad_alloc when anything was left out for want of memory.
    void finish() {
        if (isOutOfMemory()) throw std::bad_alloc();
    }

  private:
    bool isOutOfMemory() { return cairo_status(context_) == CAIRO_STATUS_NO_MEMORY; }
    void release() {
        cairo_destroy(context_);
        cairo_surface_finish(surface_);
        cairo_surface_destroy(surface_);
    }

    cairo_surface_t* surface_;
    cairo_t* context_;
};

constexpr double kPi = 3.14159265358979323846;

double limitedRadius(const Rect& rect, double radius) {
    return std::clamp(radius, 0.0, std::min(rect.width, rect.height) / 2);
}

void addRoundedRect(cairo_t* context, const Rect& topLeftRect, double cornerRadius) {
    const double radius = limitedRadius(topLeftRect, cornerRadius);
    cairo_new_sub_path(context);
    cairo_arc(context, topLeftRect.maxX() - radius, topLeftRect.minY() + radius, radius, -kPi / 2, 0);
    cairo_arc(context, topLeftRect.maxX() - radius, topLeftRect.maxY() - radius, radius, 0, kPi / 2);
    cairo_arc(context, topLeftRect.minX() + radius, topLeftRect.maxY() - radius, radius, kPi / 2, kPi);
    cairo_arc(context, topLeftRect.minX() + radius, topLeftRect.minY() + radius, radius, kPi, 3 * kPi / 2);
    cairo_close_path(context);
}

void addEllipse(cairo_t* context, const Rect& topLeftRect) {
    cairo_new_sub_path(context);
    cairo_save(context);
    cairo_translate(context, topLeftRect.midX(), topLeftRect.midY());
    cairo_scale(context, topLeftRect.width / 2, topLeftRect.height / 2);
    cairo_arc(context, 0, 0, 1, 0, 2 * kPi);
    cairo_restore(context);
    cairo_close_path(context);
}

// A rectangle of the canvas with the origin at its top-left.
Rect flipped(const Rect& rect, int height) {
    return {rect.x, height - rect.maxY(), rect.width, rect.height};
}

Rect movedByOffset(const Rect& rect, const ShadowStyle& style) {
    return {rect.x + style.offsetX, rect.y + style.offsetY, rect.width, rect.height};
}

ConvexShape roundedShape(const Rect& topLeftRect, double cornerRadius) {
    const double radius = limitedRadius(topLeftRect, cornerRadius);
    const auto spanAt = [topLeftRect, radius](double y) -> RowSpan {
        if (y < topLeftRect.minY() || y > topLeftRect.maxY()) return {};
        const double toEdge = std::min(y - topLeftRect.minY(), topLeftRect.maxY() - y);
        const double down = std::max(radius - toEdge, 0.0);
        const double inset = radius - std::sqrt(std::max(radius * radius - down * down, 0.0));
        return {topLeftRect.minX() + inset, topLeftRect.maxX() - inset};
    };
    return {spanAt, topLeftRect.minX(), topLeftRect.maxX(), topLeftRect.minY(), topLeftRect.maxY()};
}

ConvexShape ellipseShape(const Rect& topLeftRect) {
    const auto spanAt = [topLeftRect](double y) -> RowSpan {
        const double down = (y - topLeftRect.midY()) / (topLeftRect.height / 2);
        const double half = topLeftRect.width / 2 * std::sqrt(std::max(1 - down * down, 0.0));
        return {topLeftRect.midX() - half, topLeftRect.midX() + half};
    };
    return {spanAt, topLeftRect.minX(), topLeftRect.maxX(), topLeftRect.minY(), topLeftRect.maxY()};
}

}  // namespace

BgraPremultipliedBuffer makeRoundedMatte(int width, int height, const Rect& rect, double cornerRadius) {
    BgraPremultipliedBuffer picture(width, height);
    if (picture.isEmpty() || rect.isEmpty()) return picture;
    Drawing drawing(picture);
    cairo_set_source_rgb(drawing, 1, 1, 1);
    addRoundedRect(drawing, flipped(rect, height), cornerRadius);
    cairo_fill(drawing);
    drawing.finish();
    return picture;
}

BgraPremultipliedBuffer makeRoundedShadow(int width, int height, const Rect& rect, double cornerRadius,
                                          const ShadowStyle& style) {
    BgraPremultipliedBuffer picture(width, height);
    if (picture.isEmpty() || rect.isEmpty()) return picture;
    const Rect below = flipped(movedByOffset(rect, style), height);
    fillGaussianShadow(roundedShape(below, cornerRadius), style.blur / 2, style.alpha, picture);
    return picture;
}

BgraPremultipliedBuffer makeEllipseMatte(int width, int height, const Rect& rect) {
    BgraPremultipliedBuffer picture(width, height);
    if (picture.isEmpty() || rect.isEmpty()) return picture;
    Drawing drawing(picture);
    cairo_set_source_rgb(drawing, 1, 1, 1);
    addEllipse(drawing, flipped(rect, height));
    cairo_fill(drawing);
    drawing.finish();
    return picture;
}

BgraPremultipliedBuffer makeBubbleBorder(int width, int height, const Rect& rect, const ShadowStyle& style,
                                         double leastRim) {
    BgraPremultipliedBuffer picture(width, height);
    if (picture.isEmpty() || rect.isEmpty()) return picture;
    fillGaussianShadow(ellipseShape(flipped(movedByOffset(rect, style), height)), style.blur / 2, style.alpha, picture);
    Drawing drawing(picture);
    const Rect ellipse = flipped(rect, height);
    cairo_set_operator(drawing, CAIRO_OPERATOR_DEST_OUT);
    addEllipse(drawing, ellipse);
    cairo_fill(drawing);
    cairo_set_operator(drawing, CAIRO_OPERATOR_OVER);
    const double lineWidth = std::max(rect.width * 0.012, leastRim);
    const Rect rim = ellipse.grownBy(-lineWidth / 2);
    if (rim.isEmpty()) return picture;
    addEllipse(drawing, rim);
    cairo_set_source_rgba(drawing, 1, 1, 1, 0.85);
    cairo_set_line_width(drawing, lineWidth);
    cairo_stroke(drawing);
    drawing.finish();
    return picture;
}

BgraPremultipliedBuffer makeRing(const RingStyle& style) {
    BgraPremultipliedBuffer picture(style.size, style.size);
    const Rect middle{style.inset, style.inset, style.size - 2 * style.inset, style.size - 2 * style.inset};
    if (picture.isEmpty() || middle.isEmpty()) return picture;
    Drawing drawing(picture);
    addEllipse(drawing, middle);
    cairo_set_source_rgb(drawing, style.colour.red, style.colour.green, style.colour.blue);
    cairo_set_line_width(drawing, style.lineWidth);
    cairo_stroke(drawing);
    drawing.finish();
    return picture;
}

template <typename Make>
PreparedLayers::Layer PreparedLayers::reuseOrMake(Slot& slot, const Inputs& inputs, const Make& make) {
    {
        const std::lock_guard hold(lock_);
        if (slot.inputs == inputs) return slot.layer;
    }
    auto layer = std::make_shared<const BgraPremultipliedBuffer>(make());
    const std::lock_guard hold(lock_);
    slot = {inputs, layer};
    return layer;
}

std::shared_ptr<const StudioBackground> PreparedLayers::background(int width, int height, const RgbColour& tone) {
    {
        const std::lock_guard hold(lock_);
        const StudioBackground* const last = background_.get();
        if (last != nullptr && last->width == width && last->height == height && last->tone == tone) return background_;
    }
    auto made = std::make_shared<const StudioBackground>(width, height, tone);
    const std::lock_guard hold(lock_);
    background_ = made;
    return made;
}

PreparedLayers::Layer PreparedLayers::roundedMatte(int width, int height, const Rect& rect, double cornerRadius) {
    return reuseOrMake(matte_, {.width = width, .height = height, .rect = rect, .cornerRadius = cornerRadius},
                       [&] { return makeRoundedMatte(width, height, rect, cornerRadius); });
}

PreparedLayers::Layer PreparedLayers::roundedShadow(int width, int height, const Rect& rect, double cornerRadius,
                                                    const ShadowStyle& style) {
    return reuseOrMake(shadow_,
                       {.width = width, .height = height, .rect = rect, .cornerRadius = cornerRadius, .style = style},
                       [&] { return makeRoundedShadow(width, height, rect, cornerRadius, style); });
}

PreparedLayers::Layer PreparedLayers::ring() {
    return reuseOrMake(ring_, {}, [] { return makeRing(); });
}

PreparedLayers::Layer PreparedLayers::ellipseMatte(int width, int height, const Rect& rect) {
    return reuseOrMake(bubbleMatte_, {.width = width, .height = height, .rect = rect},
                       [&] { return makeEllipseMatte(width, height, rect); });
}

PreparedLayers::Layer PreparedLayers::bubbleBorder(int width, int height, const Rect& rect, const ShadowStyle& style,
                                                   double leastRim) {
    return reuseOrMake(bubbleBorder_,
                       {.width = width, .height = height, .rect = rect, .style = style, .leastRim = leastRim},
                       [&] { return makeBubbleBorder(width, height, rect, style, leastRim); });
}

}  // namespace lumivastor::imaging
