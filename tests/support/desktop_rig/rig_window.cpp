// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/desktop_rig/rig_window.h"

#include <unistd.h>
#include <xcb/render.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "support/await.h"
#include "support/desktop_rig/desktop_rig.h"

namespace lumivastor {
namespace {

const xcb_screen_t* screenOf(xcb_connection_t* connection) {
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

// A visual of 32 bits, which is how windows with alpha are made.
std::uint32_t alphaVisual(const xcb_screen_t* screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem > 0; xcb_depth_next(&depth)) {
        if (depth.data->depth == 32) return xcb_depth_visuals(depth.data)[0].visual_id;
    }
    throw std::runtime_error("the rig's server has no visual with alpha");
}

template <typename T>
bool takeAndFree(T* reply) {
    std::free(reply);
    return reply != nullptr;
}

}  // namespace

std::uint32_t patternAt(int seed, int x, int y) {
    const auto mixed = static_cast<std::uint32_t>(seed * 0x9e3779b1LL) ^ (static_cast<std::uint32_t>(x) * 0x85ebca6bU) ^
                       (static_cast<std::uint32_t>(y) * 0xc2b2ae35U);
    return (mixed ^ (mixed >> 13)) & 0xffffff;
}

RigWindow::RigWindow(const std::string& displayName, const Options& options)
    : options_(options), connection_(xcb_connect(displayName.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) throw std::runtime_error("the rig's server lets no window in");
    const xcb_screen_t* screen = screenOf(connection_);
    root_ = screen->root;
    window_ = xcb_generate_id(connection_);
    const std::uint8_t depth = options.hasAlpha ? 32 : screen->root_depth;
    const std::uint32_t visual = options.hasAlpha ? alphaVisual(screen) : screen->root_visual;
    const std::uint32_t colormap = xcb_generate_id(connection_);
    xcb_create_colormap(connection_, XCB_COLORMAP_ALLOC_NONE, colormap, root_, visual);
    const std::uint32_t values[] = {options.color | alpha(), 0x00ff00 | alpha(), options.isOverride ? 1U : 0U,
                                    XCB_EVENT_MASK_EXPOSURE, colormap};
    xcb_create_window(
        connection_, depth, window_, root_, static_cast<std::int16_t>(options.x), static_cast<std::int16_t>(options.y),
        static_cast<std::uint16_t>(options.width), static_cast<std::uint16_t>(options.height),
        static_cast<std::uint16_t>(options.border), XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
        XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
        values);
    context_ = xcb_generate_id(connection_);
    xcb_create_gc(connection_, context_, window_, 0, nullptr);
    setTitle(options.title);
    setText("WM_CLASS", "STRING", options.className + std::string(1, '\0') + options.className + std::string(1, '\0'));
    const auto process = static_cast<std::uint32_t>(getpid());
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1,
                        &process);
    if (!options.type.empty()) {
        const std::uint32_t type = atom(("_NET_WM_WINDOW_TYPE_" + options.type).c_str());
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32,
                            1, &type);
    }
    if (!options.shadow.empty()) {
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, atom("_GTK_FRAME_EXTENTS"), XCB_ATOM_CARDINAL,
                            32, static_cast<std::uint32_t>(options.shadow.size()), options.shadow.data());
    }
    // The user chose place and size: no window manager changes them.
    std::uint32_t hints[18] = {1 | 2, static_cast<std::uint32_t>(options.x), static_cast<std::uint32_t>(options.y),
                               static_cast<std::uint32_t>(options.width), static_cast<std::uint32_t>(options.height)};
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
                        32, 18, hints);
    pixels_.assign(static_cast<std::size_t>(options.width) * static_cast<std::size_t>(options.height),
                   options.color | alpha());
    redraw_ = std::thread([this] { redrawWhenAsked(); });
    if (options.isMapped) map();
}

RigWindow::~RigWindow() {
    // Wakes the other thread; a server that is gone has done so, too.
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    const std::uint32_t inbox = xcb_generate_id(connection_);
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, inbox, root_, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_send_event(connection_, 0, inbox, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&message));
    xcb_flush(connection_);
    redraw_.join();
    xcb_disconnect(connection_);
}

void RigWindow::redrawWhenAsked() {
    for (;;) {
        xcb_generic_event_t* const event = xcb_wait_for_event(connection_);
        const int type = event == nullptr ? XCB_CLIENT_MESSAGE : event->response_type & 0x7f;
        std::free(event);
        if (type == XCB_CLIENT_MESSAGE) return;
        if (type != XCB_EXPOSE) continue;
        const std::lock_guard hold(lock_);
        paint();
    }
}

std::uint32_t RigWindow::atom(const char* name) const {
    auto* const reply = xcb_intern_atom_reply(
        connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr);
    const std::uint32_t value = reply == nullptr ? 0 : reply->atom;
    std::free(reply);
    return value;
}

void RigWindow::sync() const {
    takeAndFree(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

void RigWindow::setText(const char* property, const char* type, const std::string& text) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, atom(property), atom(type), 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
    sync();
}

void RigWindow::setTitle(const std::string& title) {
    setText("_NET_WM_NAME", "UTF8_STRING", title);
}

void RigWindow::fill(std::uint32_t color) {
    fill(color, 0, 0, options_.width, options_.height);
}

void RigWindow::fill(std::uint32_t color, int x, int y, int width, int height) {
    const std::uint32_t pixel = color | alpha();
    {
        const std::lock_guard hold(lock_);
        for (int row = y; row < y + height; ++row) {
            std::fill_n(pixels_.begin() + static_cast<std::ptrdiff_t>(row) * options_.width + x, width, pixel);
        }
        xcb_change_gc(connection_, context_, XCB_GC_FOREGROUND, &pixel);
        const xcb_rectangle_t rect{static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                                   static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
        xcb_poly_fill_rectangle(connection_, window_, context_, 1, &rect);
    }
    sync();
}

void RigWindow::drawPattern(int seed) {
    {
        const std::lock_guard hold(lock_);
        std::size_t next = 0;
        for (int y = 0; y < options_.height; ++y) {
            for (int x = 0; x < options_.width; ++x) pixels_[next++] = patternAt(seed, x, y) | alpha();
        }
        paint();
    }
    sync();
}

void RigWindow::drawPixels(const std::vector<std::uint32_t>& pixels) {
    {
        const std::lock_guard hold(lock_);
        if (pixels.size() != pixels_.size()) throw std::invalid_argument("a picture of the window's size");
        for (std::size_t i = 0; i < pixels.size(); ++i) pixels_[i] = (pixels[i] & 0xffffff) | alpha();
        paint();
    }
    sync();
}

// In bands: a request has a longest length.
void RigWindow::paint() {
    const std::uint8_t depth = options_.hasAlpha ? 32 : screenOf(connection_)->root_depth;
    const int rows = std::max(1, 60000 / options_.width);
    for (int y = 0; y < options_.height; y += rows) {
        const int count = std::min(rows, options_.height - y);
        xcb_put_image(
            connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window_, context_, static_cast<std::uint16_t>(options_.width),
            static_cast<std::uint16_t>(count), 0, static_cast<std::int16_t>(y), 0, depth,
            static_cast<std::uint32_t>(options_.width * count * 4),
            reinterpret_cast<const std::uint8_t*>(pixels_.data() + static_cast<std::ptrdiff_t>(y) * options_.width));
    }
    xcb_flush(connection_);
}

void RigWindow::drawCounter(int number) {
    const int block = options_.width / 16;
    {
        const std::lock_guard hold(lock_);
        std::size_t next = 0;
        for (int y = 0; y < options_.height; ++y) {
            for (int x = 0; x < options_.width; ++x) {
                const bool isSet = x < block * 16 && ((number >> (x / block)) & 1) != 0;
                pixels_[next++] = (isSet ? 0xffffffU : 0U) | alpha();
            }
        }
        paint();
    }
    sync();
}

void RigWindow::moveTo(int x, int y) {
    const std::uint32_t values[] = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
    xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
    sync();
}

void RigWindow::resize(int width, int height) {
    {
        const std::lock_guard hold(lock_);
        options_.width = width;
        options_.height = height;
        pixels_.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), options_.color | alpha());
    }
    const std::uint32_t values[] = {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
    xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
    const bool isThere = await([&] {
        auto* const reply = xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window_), nullptr);
        const bool isDone = reply == nullptr || (reply->width == width && reply->height == height);
        std::free(reply);
        return isDone;
    });
    if (!isThere) throw std::runtime_error("the window was not resized");
}

void RigWindow::raise() {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    sync();
}

void RigWindow::lower() {
    const std::uint32_t below = XCB_STACK_MODE_BELOW;
    xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_STACK_MODE, &below);
    sync();
}

void RigWindow::map() {
    xcb_map_window(connection_, window_);
    const bool isThere = await([&] {
        auto* const reply =
            xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window_), nullptr);
        const bool isDone = reply == nullptr || reply->map_state == XCB_MAP_STATE_VIEWABLE;
        std::free(reply);
        return isDone;
    });
    if (!isThere) throw std::runtime_error("the window was not mapped");
}

void RigWindow::unmap() {
    xcb_unmap_window(connection_, window_);
    sync();
}

void RigWindow::iconify() {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window_;
    message.type = atom("WM_CHANGE_STATE");
    message.data.data32[0] = 3;  // iconic
    xcb_send_event(connection_, 0, root_, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    const bool isThere = await([&] {
        auto* const reply =
            xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window_), nullptr);
        const bool isDone = reply == nullptr || reply->map_state != XCB_MAP_STATE_VIEWABLE;
        std::free(reply);
        return isDone;
    });
    if (!isThere) throw std::runtime_error("the window was not iconified");
}

void RigWindow::close() {
    xcb_destroy_window(connection_, window_);
    sync();
}

void RigWindow::setCursor(int width, int height, int hotX, int hotY, std::uint32_t color) {
    auto* const formats =
        xcb_render_query_pict_formats_reply(connection_, xcb_render_query_pict_formats(connection_), nullptr);
    std::uint32_t format = 0;
    for (auto it = xcb_render_query_pict_formats_formats_iterator(formats); it.rem > 0;
         xcb_render_pictforminfo_next(&it)) {
        const auto& direct = it.data->direct;
        if (it.data->depth == 32 && direct.alpha_mask == 0xff && direct.alpha_shift == 24 && direct.red_shift == 16) {
            format = it.data->id;
            break;
        }
    }
    std::free(formats);
    const std::uint32_t pixmap = xcb_generate_id(connection_);
    xcb_create_pixmap(connection_, 32, pixmap, root_, static_cast<std::uint16_t>(width),
                      static_cast<std::uint16_t>(height));
    const std::uint32_t context = xcb_generate_id(connection_);
    xcb_create_gc(connection_, context, pixmap, XCB_GC_FOREGROUND, &color);
    const xcb_rectangle_t all{0, 0, static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
    xcb_poly_fill_rectangle(connection_, pixmap, context, 1, &all);
    const std::uint32_t picture = xcb_generate_id(connection_);
    xcb_render_create_picture(connection_, picture, pixmap, format, 0, nullptr);
    const std::uint32_t cursor = xcb_generate_id(connection_);
    xcb_render_create_cursor(connection_, cursor, picture, static_cast<std::uint16_t>(hotX),
                             static_cast<std::uint16_t>(hotY));
    xcb_change_window_attributes(connection_, window_, XCB_CW_CURSOR, &cursor);
    xcb_free_cursor(connection_, cursor);
    xcb_render_free_picture(connection_, picture);
    xcb_free_gc(connection_, context);
    xcb_free_pixmap(connection_, pixmap);
    sync();
}

int RigWindow::screenX() const {
    auto* const reply = xcb_translate_coordinates_reply(
        connection_, xcb_translate_coordinates(connection_, window_, root_, 0, 0), nullptr);
    const int x = reply == nullptr ? 0 : reply->dst_x;
    std::free(reply);
    return x;
}

int RigWindow::screenY() const {
    auto* const reply = xcb_translate_coordinates_reply(
        connection_, xcb_translate_coordinates(connection_, window_, root_, 0, 0), nullptr);
    const int y = reply == nullptr ? 0 : reply->dst_y;
    std::free(reply);
    return y;
}

}  // namespace lumivastor
