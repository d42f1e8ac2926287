// SPDX-License-Identifier: GPL-3.0-or-later

// A window over a whole display, in which lines of small marks scroll by 120 times a second, as text does in a long
// document. The server copies them from a picture of its own, so that what scrolls costs next to nothing.
//   scrolling_text DISPLAY WIDTH HEIGHT

#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr int kLineHeight = 20;
constexpr int kMarkWidth = 8;
constexpr int kMarkHeight = 12;
constexpr int kStep = 3;  // pixels

// One line after the other: words of marks, each mark a few strokes a pixel wide.
std::vector<std::uint32_t> pageOfText(int width, int height) {
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0xfafafa);
    std::mt19937 random(7);
    const auto put = [&](int x, int y) {
        if (x < width && y < height)
            pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] =
                0x1c1c22;
    };
    for (int top = 4; top < height; top += kLineHeight) {
        for (int left = 24; left + kMarkWidth < width - 24; left += kMarkWidth) {
            if (random() % 6 == 0) continue;
            for (int stroke = 0; stroke < 3; ++stroke) {
                const int at = static_cast<int>(random() % (kMarkWidth - 2));
                const int from = static_cast<int>(random() % kMarkHeight);
                const bool isUpright = random() % 2 == 0;
                for (int i = 0; i < (isUpright ? kMarkHeight - from : kMarkWidth - 2 - at); ++i) {
                    isUpright ? put(left + at, top + from + i) : put(left + at + i, top + from);
                }
            }
        }
    }
    return pixels;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    const int width = std::atoi(argv[2]);
    const int height = std::atoi(argv[3]);
    xcb_connection_t* connection = xcb_connect(argv[1], nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        std::fprintf(stderr, "no display server\n");
        return 1;
    }
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const auto wide = static_cast<std::uint16_t>(width);
    const auto high = static_cast<std::uint16_t>(height);
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t values[] = {0xfafafa, 1};
    xcb_create_window(connection, screen->root_depth, window, screen->root, 0, 0, wide, high, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT,
                      values);
    xcb_map_window(connection, window);

    // Its upper half once more below it: any height of a window can be cut out.
    const auto page = pageOfText(width, height);
    const xcb_pixmap_t pixmap = xcb_generate_id(connection);
    xcb_create_pixmap(connection, screen->root_depth, pixmap, window, wide, static_cast<std::uint16_t>(2 * height));
    const xcb_gcontext_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, window, 0, nullptr);
    const int rows = std::max(1, 60000 / width);  // a request has a longest length
    for (int top = 0; top < 2 * height; top += rows) {
        const int from = top % height;
        const int count = std::min(rows, height - from);
        xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, wide, static_cast<std::uint16_t>(count),
                      0, static_cast<std::int16_t>(top), 0, screen->root_depth,
                      static_cast<std::uint32_t>(width * count * 4),
                      reinterpret_cast<const std::uint8_t*>(page.data() + static_cast<std::ptrdiff_t>(from) * width));
        top -= rows - count;
    }
    auto next = std::chrono::steady_clock::now();
    for (int offset = 0; xcb_connection_has_error(connection) == 0; offset = (offset + kStep) % height) {
        xcb_copy_area(connection, pixmap, window, context, 0, static_cast<std::int16_t>(offset), 0, 0, wide, high);
        // The server has done it before there is more: a queue of copies would be no motion.
        std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
        next += std::chrono::microseconds(8333);
        std::this_thread::sleep_until(next);
    }
    xcb_disconnect(connection);
}
