// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/drawing/bitmap_canvas.h"

#include <cairo.h>
#include <pango/pangocairo.h>
#include <sys/mman.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <thread>
#include <utility>

namespace lumivastor::imaging {

namespace {

constexpr double kPi = 3.14159265358979323846;

// Cairo's coordinates end at some 8 million pixels; sensible values are far below.
constexpr double kFarthest = 1e6;
// Cairo's grid; what is smaller has no inverse scale that could be drawn with.
constexpr double kThinnest = 1.0 / 256;
// Glyphs are rasterised whole. No label is ever this large.
constexpr double kLargestText = 2000;

struct CairoDelete {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
    void operator()(cairo_font_options_t* options) const { cairo_font_options_destroy(options); }
    void operator()(PangoLayout* layout) const { g_object_unref(layout); }
    void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
};
template <typename Type>
using Owned = std::unique_ptr<Type, CairoDelete>;

// Cairo's ARGB32 is our blue, green, red, alpha in memory on the little-endian machines that this runs on. A surface
// that cannot be made is inert: whatever is done with it does nothing.
Owned<cairo_surface_t> surfaceOf(std::uint8_t* pixels, const BgraPremultipliedBuffer& buffer) {
    return Owned<cairo_surface_t>(cairo_image_surface_create_for_data(
        pixels, CAIRO_FORMAT_ARGB32, buffer.width(), buffer.height(), static_cast<int>(buffer.stride())));
}

bool isDrawable(const Rect& rect) {
    return isFinite(rect) && rect.width >= kThinnest && rect.height >= kThinnest && rect.minX() >= -kFarthest &&
           rect.minY() >= -kFarthest && rect.maxX() <= kFarthest && rect.maxY() <= kFarthest;
}

Rect around(Point centre, double radius) {
    return Rect{centre.x, centre.y, 0, 0}.grownBy(radius);
}

void setColour(cairo_t* context, const RgbaColour& colour) {
    cairo_set_source_rgba(context, colour.red, colour.green, colour.blue, colour.alpha);
}

// Whether a line of text has been drawn. The first one finds the fonts, on three threads.
std::atomic<bool> fontsAreFound = false;

// GLib, below Pango, ends the program where it finds no memory or cannot start a thread. So both are tried first, with
// far more room than it takes: a thread has a stack of 8 MB and up to 128 MB to allocate from. Throws std::bad_alloc or
// std::system_error.
void requireRoomForText() {
    if (!fontsAreFound) std::thread([] {}).join();
    const std::size_t room = std::size_t{fontsAreFound ? 32U : 448U} << 20U;
    void* const tried = ::mmap(nullptr, room, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (tried == MAP_FAILED) throw std::bad_alloc();
    ::munmap(tried, room);
}

void addCircle(cairo_t* context, Point centre, double radius) {
    cairo_new_path(context);
    cairo_arc(context, centre.x, centre.y, radius, 0, 2 * kPi);
    cairo_close_path(context);
}

}  // namespace

struct BitmapCanvas::State {
    Owned<cairo_surface_t> surface;
    Owned<cairo_t> context;
};

BitmapCanvas::BitmapCanvas(BgraPremultipliedBuffer& buffer) : state_(std::make_unique<State>()) {
    if (buffer.isEmpty()) return;
    auto surface = surfaceOf(buffer.row(0), buffer);
    if (cairo_surface_status(surface.get()) == CAIRO_STATUS_NO_MEMORY) throw std::bad_alloc();
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return;
    state_->surface = std::move(surface);
    state_->context.reset(cairo_create(state_->surface.get()));
    if (cairo_status(state_->context.get()) == CAIRO_STATUS_NO_MEMORY) throw std::bad_alloc();
}

BitmapCanvas::~BitmapCanvas() {
    state_->context.reset();
    if (state_->surface) cairo_surface_finish(state_->surface.get());
}

void BitmapCanvas::strokeCircle(Point centre, double radius, double lineWidth, const RgbaColour& colour) {
    cairo_t* const context = state_->context.get();
    if (context == nullptr || !(lineWidth > 0) || !isDrawable(around(centre, radius + lineWidth))) return;
    addCircle(context, centre, radius);
    setColour(context, colour);
    cairo_set_line_width(context, lineWidth);
    cairo_stroke(context);
}

void BitmapCanvas::fillCircle(Point centre, double radius, const RgbaColour& colour) {
    cairo_t* const context = state_->context.get();
    if (context == nullptr || !isDrawable(around(centre, radius))) return;
    addCircle(context, centre, radius);
    setColour(context, colour);
    cairo_fill(context);
}

void BitmapCanvas::fillRect(const Rect& rect, const RgbaColour& colour) {
    cairo_t* const context = state_->context.get();
    if (context == nullptr || !isDrawable(rect)) return;
    cairo_rectangle(context, rect.x, rect.y, rect.width, rect.height);
    setColour(context, colour);
    cairo_fill(context);
}

void BitmapCanvas::drawPicture(const BgraPremultipliedBuffer& picture, const Rect& rect) {
    cairo_t* const context = state_->context.get();
    if (context == nullptr || picture.isEmpty() || !isDrawable(rect)) return;
    // Cairo asks for pixels that may be written to, and only reads those of a source.
    const auto source = surfaceOf(const_cast<std::uint8_t*>(picture.row(0)), picture);
    const Owned<cairo_pattern_t> pattern(cairo_pattern_create_for_surface(source.get()));
    if (cairo_pattern_status(pattern.get()) != CAIRO_STATUS_SUCCESS) return;
    const double perPixelX = picture.width() / rect.width;
    const double perPixelY = picture.height() / rect.height;
    cairo_matrix_t toPicture;
    cairo_matrix_init(&toPicture, perPixelX, 0, 0, perPixelY, -rect.x * perPixelX, -rect.y * perPixelY);
    cairo_pattern_set_matrix(pattern.get(), &toPicture);
    cairo_pattern_set_filter(pattern.get(), CAIRO_FILTER_GOOD);
    // The rectangle alone makes the edges; a picture stretched beyond its last pixels would fade there as well.
    cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
    cairo_rectangle(context, rect.x, rect.y, rect.width, rect.height);
    cairo_set_source(context, pattern.get());
    cairo_fill(context);
    setColour(context, {});  // releases the pattern, which points to pixels that the canvas does not own
}

void BitmapCanvas::drawText(const std::string& text, Point baseline, const std::string& families, double size,
                            const RgbaColour& colour) {
    cairo_t* const context = state_->context.get();
    if (context == nullptr || !(size > 0 && size <= kLargestText) || !isDrawable(around(baseline, 1))) return;
    requireRoomForText();
    const Owned<PangoLayout> layout(pango_cairo_create_layout(context));
    // Grey edges and no fitting to the pixel grid, whatever the desktop prefers: a movie is shown at any size.
    const Owned<cairo_font_options_t> options(cairo_font_options_create());
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(pango_layout_get_context(layout.get()), options.get());
    const Owned<PangoFontDescription> font(pango_font_description_new());
    pango_font_description_set_family(font.get(), families.c_str());
    pango_font_description_set_absolute_size(font.get(), size * PANGO_SCALE);
    pango_layout_set_font_description(layout.get(), font.get());
    pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
    pango_layout_set_text(layout.get(), text.c_str(), static_cast<int>(text.size()));
    PangoLayoutLine* const line = pango_layout_get_line_readonly(layout.get(), 0);
    if (line == nullptr) return;
    setColour(context, colour);
    cairo_new_path(context);
    cairo_move_to(context, baseline.x, baseline.y);
    pango_cairo_show_layout_line(context, line);
    cairo_new_path(context);
    fontsAreFound = true;
}

}  // namespace lumivastor::imaging
