// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "imaging/pixel_buffer.h"

namespace lumivastor {

/// A window on a Wayland compositor that shows a number as a row of black and white cells, so that a recorded picture
/// tells what was drawn. Its ground is of one colour. One thread.
class CodedWindow {
  public:
    static constexpr int kCell = 24;   // pixels on each side
    static constexpr int kCells = 18;  // two that mark the ends, sixteen of the number
    /// Where the code's top-left pixel is in the window.
    static constexpr int kX = 48;
    static constexpr int kY = 48;

    static constexpr const char* kTitle = "Zahlen";

    /// A pointer of one colour.
    struct Pointer {
        int side = 24;
        int hotSpotX = 0;
        int hotSpotY = 0;
        std::uint32_t color = 0xffffff;  // red, green, blue
    };

    /// Fills the screen; returns when the compositor has given it its size. Throws std::runtime_error.
    explicit CodedWindow(const std::string& display) : CodedWindow(display, 0, 0) {}
    /// Of that size in pixels, until the compositor gives it another. 0 x 0: fills the screen.
    CodedWindow(const std::string& display, int width, int height);
    ~CodedWindow();
    CodedWindow(const CodedWindow&) = delete;
    CodedWindow& operator=(const CodedWindow&) = delete;

    /// Draws a number and waits until the compositor has taken it. Returns the host time just before it was handed
    /// over.
    double show(std::uint16_t number);
    /// Whether the compositor has painted the last number. One that is short of time leaves out what comes too fast.
    bool isShown();
    /// The pointer's shape over the window, from the next `show` on; nullopt: none is to be seen.
    void setPointer(const std::optional<Pointer>& pointer);
    int width() const;
    int height() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// The number whose code begins at this pixel; nullopt when there is no code.
std::optional<std::uint16_t> codeAt(const imaging::BgraPremultipliedBuffer& picture, int x = CodedWindow::kX,
                                    int y = CodedWindow::kY);

}  // namespace lumivastor
