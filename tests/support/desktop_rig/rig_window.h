// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct xcb_connection_t;

namespace lumivastor {

/// A window of a small program on a test's desktop, a client with its own connection. Its content is known to the
/// pixel, and redrawn on its own thread when the server requests it. Every function returns when the server has
/// processed it; a window manager's reaction follows within a moment. One thread.
class RigWindow {
  public:
    struct Options {
        std::string title = "Probe";
        std::string className = "Probe";
        int x = 100;
        int y = 100;
        int width = 320;
        int height = 240;
        std::uint32_t color = 0x336699;  // 0xRRGGBB
        int border = 0;
        /// The window manager ignores it, as for menus and panels.
        bool isOverride = false;
        /// With an alpha channel, fully opaque.
        bool hasAlpha = false;
        /// "DOCK", "DIALOG"...; empty for none.
        std::string type = {};
        /// Left, right, top, bottom: the window announces a shadow of this width that it draws itself.
        std::vector<std::uint32_t> shadow = {};
        bool isMapped = true;
    };

    RigWindow(const std::string& displayName, const Options& options);
    explicit RigWindow(const std::string& displayName) : RigWindow(displayName, Options{}) {}
    ~RigWindow();
    RigWindow(const RigWindow&) = delete;
    RigWindow& operator=(const RigWindow&) = delete;

    std::uint32_t id() const { return window_; }

    /// Paints a rectangle, by default all of it, in one colour.
    void fill(std::uint32_t color);
    void fill(std::uint32_t color, int x, int y, int width, int height);
    /// Paints a picture in which every pixel has a different colour: see `patternAt`.
    void drawPattern(int seed);
    /// Paints a picture of the window's size: 0xRRGGBB for each pixel, the top row first.
    void drawPixels(const std::vector<std::uint32_t>& pixels);
    /// Paints a number as a row of 16 blocks, the lowest bit first, white for 1 and black for 0; each as wide as a
    /// sixteenth of the window and as high as the window. At once where the window has up to 60,000 pixels.
    void drawCounter(int number);

    void moveTo(int x, int y);
    void resize(int width, int height);
    void raise();
    void lower();
    void map();
    void unmap();
    /// Requests it from the window manager, like the button in the title bar.
    void iconify();
    void close();
    void setTitle(const std::string& title);
    /// A cursor of one colour, 0xAARRGGBB premultiplied, shown while the pointer is in the window.
    void setCursor(int width, int height, int hotX, int hotY, std::uint32_t color);

    /// Where its inside begins on the screen.
    int screenX() const;
    int screenY() const;

  private:
    void sync() const;
    void setText(const char* property, const char* type, const std::string& text);
    void paint();
    void redrawWhenAsked();
    std::uint32_t atom(const char* name) const;
    std::uint32_t alpha() const { return options_.hasAlpha ? 0xff000000U : 0; }

    Options options_;
    xcb_connection_t* connection_ = nullptr;
    std::uint32_t root_ = 0;
    std::uint32_t window_ = 0;
    std::uint32_t context_ = 0;
    std::mutex lock_;
    std::vector<std::uint32_t> pixels_;  // what the window shows; guarded by lock_, as are the sizes in options_
    std::thread redraw_;
};

/// The colour of a pattern's pixel, 0xRRGGBB.
std::uint32_t patternAt(int seed, int x, int y);

}  // namespace lumivastor
