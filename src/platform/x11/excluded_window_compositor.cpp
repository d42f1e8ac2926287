// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/excluded_window_compositor.h"

#include <xcb/composite.h>
#include <xcb/render.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include "platform/x11/monitors.h"
#include "platform/x11/x_properties.h"

namespace lumivastor::x11 {
namespace {

std::int16_t to16(int value) {
    return static_cast<std::int16_t>(value);
}

std::uint16_t toSize(int value) {
    return static_cast<std::uint16_t>(value);
}

}  // namespace

ExcludedWindowCompositor::ExcludedWindowCompositor(const XConnection& connection) : connection_(connection) {
    readFormats();
}

ExcludedWindowCompositor::~ExcludedWindowCompositor() {
    if (backdrop_ != 0) xcb_destroy_window(connection_, backdrop_);
}

void ExcludedWindowCompositor::readFormats() {
    const auto reply =
        xReply(connection_, xcb_render_query_pict_formats_reply, xcb_render_query_pict_formats(connection_));
    if (!reply) return;
    std::map<std::uint32_t, bool> hasAlpha;
    for (auto it = xcb_render_query_pict_formats_formats_iterator(reply.get()); it.rem > 0;
         xcb_render_pictforminfo_next(&it)) {
        hasAlpha[it.data->id] = it.data->direct.alpha_mask != 0;
    }
    for (auto screen = xcb_render_query_pict_formats_screens_iterator(reply.get()); screen.rem > 0;
         xcb_render_pictscreen_next(&screen)) {
        for (auto depth = xcb_render_pictscreen_depths_iterator(screen.data); depth.rem > 0;
             xcb_render_pictdepth_next(&depth)) {
            for (auto visual = xcb_render_pictdepth_visuals_iterator(depth.data); visual.rem > 0;
                 xcb_render_pictvisual_next(&visual)) {
                formats_[visual.data->visual] = {visual.data->format, hasAlpha[visual.data->format]};
            }
        }
    }
}

std::uint32_t ExcludedWindowCompositor::paint(const PixelRect& part, std::span<const StackedWindow> stack) {
    composited_ = isComposited();
    const std::uint32_t pixmap = connection_.makeId();
    xcb_create_pixmap(connection_, static_cast<std::uint8_t>(connection_.rootDepth()), pixmap, connection_.root(),
                      toSize(part.width), toSize(part.height));
    const std::uint32_t target = connection_.makeId();
    xcb_render_create_picture(connection_, target, pixmap, formats_[connection_.rootVisual()].id, 0, nullptr);
    paintBackground(part, target);
    for (const StackedWindow& window : stack) {
        if (!window.isExcluded && !intersection(window.outside, part).isEmpty()) paintWindow(part, window, target);
    }
    xcb_render_free_picture(connection_, target);
    return pixmap;
}

void ExcludedWindowCompositor::paintBackground(const PixelRect& part, std::uint32_t target) {
    std::uint32_t pixmap = rootPixmap();
    std::uint32_t named = 0;
    if (pixmap == 0 && !composited_) {
        makeBackdrop();
        // Its background is the root's. Cleared each time, because the root's may have changed.
        xcb_clear_area(connection_, 0, backdrop_, to16(part.x), to16(part.y), toSize(part.width), toSize(part.height));
        named = connection_.makeId();
        xcb_composite_name_window_pixmap(connection_, backdrop_, named);
        pixmap = named;
    }
    if (pixmap == 0) {
        const xcb_render_color_t black{0, 0, 0, 0xffff};
        const xcb_rectangle_t all{0, 0, toSize(part.width), toSize(part.height)};
        xcb_render_fill_rectangles(connection_, XCB_RENDER_PICT_OP_SRC, target, black, 1, &all);
        return;
    }
    const std::uint32_t source = connection_.makeId();
    const std::uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
    xcb_render_create_picture(connection_, source, pixmap, formats_[connection_.rootVisual()].id, XCB_RENDER_CP_REPEAT,
                              &repeat);
    xcb_render_composite(connection_, XCB_RENDER_PICT_OP_SRC, source, XCB_NONE, target, to16(part.x), to16(part.y), 0,
                         0, 0, 0, toSize(part.width), toSize(part.height));
    xcb_render_free_picture(connection_, source);
    if (named != 0) xcb_free_pixmap(connection_, named);
}

void ExcludedWindowCompositor::paintWindow(const PixelRect& part, const StackedWindow& window, std::uint32_t target) {
    const auto format = formats_.find(window.visual);
    if (format == formats_.end()) return;
    // The shape's origin is the window's inside, the pixmap's origin the corner of its border.
    const std::uint32_t shape = connection_.makeId();
    xcb_xfixes_create_region_from_window(connection_, shape, window.id, XCB_SHAPE_SK_BOUNDING);
    xcb_xfixes_translate_region(connection_, shape, to16(window.outside.x + window.border - part.x),
                                to16(window.outside.y + window.border - part.y));
    xcb_xfixes_set_picture_clip_region(connection_, target, shape, 0, 0);
    xcb_xfixes_destroy_region(connection_, shape);

    const std::uint32_t pixmap = connection_.makeId();
    xcb_composite_name_window_pixmap(connection_, window.id, pixmap);
    const std::uint32_t source = connection_.makeId();
    xcb_render_create_picture(connection_, source, pixmap, format->second.id, 0, nullptr);
    const bool blends = format->second.hasAlpha && composited_;
    const PixelRect seen = intersection(window.outside, part);
    xcb_render_composite(connection_, blends ? XCB_RENDER_PICT_OP_OVER : XCB_RENDER_PICT_OP_SRC, source, XCB_NONE,
                         target, to16(seen.x - window.outside.x), to16(seen.y - window.outside.y), 0, 0,
                         to16(seen.x - part.x), to16(seen.y - part.y), toSize(seen.width), toSize(seen.height));
    xcb_render_free_picture(connection_, source);
    xcb_free_pixmap(connection_, pixmap);
    xcb_xfixes_set_picture_clip_region(connection_, target, XCB_NONE, 0, 0);
}

// The picture that the desktop's background programs leave for others; 0 when there is none.
std::uint32_t ExcludedWindowCompositor::rootPixmap() const {
    const auto ids = readProperty(connection_, connection_.root(), connection_.atom(XAtom::rootPixmap)).numbers();
    if (ids.size() != 1) return 0;
    const auto geometry = xReply(connection_, xcb_get_geometry_reply, xcb_get_geometry(connection_, ids.front()));
    return geometry && geometry->depth == connection_.rootDepth() ? ids.front() : 0;
}

bool ExcludedWindowCompositor::isComposited() const {
    const auto reply = xReply(connection_, xcb_get_selection_owner_reply,
                              xcb_get_selection_owner(connection_, connection_.atom(XAtom::compositingManager)));
    return reply && reply->owner != XCB_NONE;
}

// A window behind all others that shows the root's background, is never shown itself, and lets the pointer through.
void ExcludedWindowCompositor::makeBackdrop() {
    const PixelRect root = readRootBounds(connection_);
    if (backdrop_ == 0) {
        backdrop_ = connection_.makeId();
        const std::uint32_t values[] = {XCB_BACK_PIXMAP_PARENT_RELATIVE, 1};
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, backdrop_, connection_.root(), 0, 0, toSize(root.width),
                          toSize(root.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_composite_redirect_window(connection_, backdrop_, XCB_COMPOSITE_REDIRECT_MANUAL);
        const std::uint32_t nowhere = connection_.makeId();
        xcb_xfixes_create_region(connection_, nowhere, 0, nullptr);
        xcb_xfixes_set_window_shape_region(connection_, backdrop_, XCB_SHAPE_SK_INPUT, 0, 0, nowhere);
        xcb_xfixes_destroy_region(connection_, nowhere);
        const std::uint32_t below = XCB_STACK_MODE_BELOW;
        xcb_configure_window(connection_, backdrop_, XCB_CONFIG_WINDOW_STACK_MODE, &below);
        xcb_map_window(connection_, backdrop_);
    } else {
        const std::uint32_t size[] = {static_cast<std::uint32_t>(root.width), static_cast<std::uint32_t>(root.height)};
        xcb_configure_window(connection_, backdrop_, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
    }
}

}  // namespace lumivastor::x11
