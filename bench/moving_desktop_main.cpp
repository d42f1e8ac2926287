// SPDX-License-Identifier: GPL-3.0-or-later

// A window over a whole display, with lines of small marks as in a long document, on which something happens:
//   scroll  120 times a second the lines go up by a few pixels
//   typing  eight letters a second appear behind a caret that blinks
//   area    30 times a second an area of 640 x 360 shows another part of a large smooth picture, as a clip does
//   still   nothing
// The server copies from pictures of its own, so that this costs next to nothing.
//   moving_desktop DISPLAY WIDTH HEIGHT SCENE

#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kLineHeight = 20;
constexpr int kMarkWidth = 8;
constexpr int kMarkHeight = 12;
constexpr int kMargin = 24;
constexpr int kStep = 3;  // pixels
constexpr std::uint32_t kPaper = 0xfafafa;
constexpr std::uint32_t kInk = 0x1c1c22;
constexpr int kAreaWidth = 640;
constexpr int kAreaHeight = 360;

using Pixels = std::vector<std::uint32_t>;

// One line after the other: words of marks, each mark a few strokes a pixel wide.
Pixels pageOfText(int width, int height) {
    Pixels pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), kPaper);
    std::mt19937 random(7);
    const auto put = [&](int x, int y) {
        if (x < width && y < height)
            pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] = kInk;
    };
    for (int top = 4; top < height; top += kLineHeight) {
        for (int left = kMargin; left + kMarkWidth < width - kMargin; left += kMarkWidth) {
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

Pixels smoothPicture(int width, int height) {
    Pixels pixels;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto wave = [](double phase) {
                return static_cast<std::uint32_t>(std::lround(128 + 100 * std::sin(phase)));
            };
            pixels.push_back(wave(x / 41.0 + y / 67.0) << 16 | wave(x / 90.0 - y / 53.0) << 8 | wave((x + y) / 120.0));
        }
    }
    return pixels;
}

class Desktop {
  public:
    Desktop(const char* display, int width, int height) : width_(width), height_(height) {
        connection_ = xcb_connect(display, nullptr);
        if (xcb_connection_has_error(connection_) != 0) return;
        screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        window_ = xcb_generate_id(connection_);
        const std::uint32_t values[] = {kPaper, 1};
        xcb_create_window(connection_, screen_->root_depth, window_, screen_->root, 0, 0,
                          static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(connection_, window_);
        context_ = xcb_generate_id(connection_);
        xcb_create_gc(connection_, context_, window_, 0, nullptr);
    }
    ~Desktop() { xcb_disconnect(connection_); }
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    bool isThere() const { return xcb_connection_has_error(connection_) == 0; }
    int width() const { return width_; }
    int height() const { return height_; }

    // A picture of the server's. Its rows repeat from `height` on until there are `rows`.
    xcb_pixmap_t makePixmap(const Pixels& pixels, int width, int height, int rows) const {
        const xcb_pixmap_t pixmap = xcb_generate_id(connection_);
        xcb_create_pixmap(connection_, screen_->root_depth, pixmap, window_, static_cast<std::uint16_t>(width),
                          static_cast<std::uint16_t>(rows));
        const int atOnce = std::max(1, 60000 / width);  // a request has a longest length
        int count = 0;
        for (int top = 0; top < rows; top += count) {
            const int from = top % height;
            count = std::min({atOnce, height - from, rows - top});
            xcb_put_image(
                connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context_, static_cast<std::uint16_t>(width),
                static_cast<std::uint16_t>(count), 0, static_cast<std::int16_t>(top), 0, screen_->root_depth,
                static_cast<std::uint32_t>(width * count * 4),
                reinterpret_cast<const std::uint8_t*>(pixels.data() + static_cast<std::ptrdiff_t>(from) * width));
        }
        return pixmap;
    }

    void copy(xcb_pixmap_t from, int fromX, int fromY, int x, int y, int width, int height) const {
        xcb_copy_area(connection_, from, window_, context_, static_cast<std::int16_t>(fromX),
                      static_cast<std::int16_t>(fromY), static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                      static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height));
    }

    void fill(int x, int y, int width, int height, std::uint32_t color) const {
        xcb_change_gc(connection_, context_, XCB_GC_FOREGROUND, &color);
        const xcb_rectangle_t rect{static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                                   static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
        xcb_poly_fill_rectangle(connection_, window_, context_, 1, &rect);
    }

    // The server has done it before there is more: a queue of requests would be no motion.
    void wait() const { std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr)); }

    // So many steps a second, until the server goes.
    void run(int perSecond, const std::function<void(int)>& step) const {
        auto next = std::chrono::steady_clock::now();
        for (int number = 0; isThere(); ++number) {
            step(number);
            wait();
            next += std::chrono::microseconds(1'000'000 / perSecond);
            std::this_thread::sleep_until(next);
        }
    }

  private:
    int width_;
    int height_;
    xcb_connection_t* connection_ = nullptr;
    const xcb_screen_t* screen_ = nullptr;
    xcb_window_t window_ = 0;
    xcb_gcontext_t context_ = 0;
};

void scroll(const Desktop& desktop, xcb_pixmap_t page) {
    desktop.run(120, [&](int number) {
        desktop.copy(page, 0, number * kStep % desktop.height(), 0, 0, desktop.width(), desktop.height());
    });
}

// Over the middle of the page: lines that fill, one letter after the other, taken from the page.
void type(const Desktop& desktop, xcb_pixmap_t page) {
    const int left = desktop.width() / 4 / kMarkWidth * kMarkWidth;
    const int top = desktop.height() / 4 / kLineHeight * kLineHeight;
    const int columns = desktop.width() / 2 / kMarkWidth;
    desktop.fill(left, top, columns * kMarkWidth, desktop.height() / 2, kPaper);
    desktop.run(8, [&](int number) {
        const int rows = desktop.height() / 2 / kLineHeight;
        const int x = left + number % columns * kMarkWidth;
        const int y = top + number / columns % rows * kLineHeight;
        desktop.copy(page, x, y, x, y, kMarkWidth, kLineHeight);
        const bool isOn = number / 4 % 2 == 0;
        desktop.fill(x + kMarkWidth, y + 2, 2, kLineHeight - 4, isOn ? kInk : kPaper);
    });
}

void moveArea(const Desktop& desktop) {
    constexpr int kWidth = 2 * kAreaWidth;
    constexpr int kHeight = 2 * kAreaHeight;
    const xcb_pixmap_t picture = desktop.makePixmap(smoothPicture(kWidth, kHeight), kWidth, kHeight, kHeight);
    desktop.run(30, [&](int number) {
        // There and back in both directions, at different paces.
        const auto swing = [number](int pace, int reach) { return std::abs(number * pace % (2 * reach) - reach); };
        desktop.copy(picture, swing(5, kWidth - kAreaWidth), swing(3, kHeight - kAreaHeight),
                     (desktop.width() - kAreaWidth) / 2, (desktop.height() - kAreaHeight) / 2, kAreaWidth, kAreaHeight);
    });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    const int width = std::atoi(argv[2]);
    const int height = std::atoi(argv[3]);
    const std::string scene = argv[4];
    const Desktop desktop(argv[1], width, height);
    if (!desktop.isThere()) {
        std::fprintf(stderr, "no display server\n");
        return 1;
    }
    // Its upper half once more below it: any height of a window can be cut out.
    const xcb_pixmap_t page = desktop.makePixmap(pageOfText(width, height), width, height, 2 * height);
    desktop.copy(page, 0, 0, 0, 0, width, height);
    desktop.wait();
    if (scene == "scroll") scroll(desktop, page);
    if (scene == "typing") type(desktop, page);
    if (scene == "area") moveArea(desktop);
    desktop.run(1, [](int) {});
}
