// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <span>

#include "platform/x11/window_stack.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// Paints parts of the desktop from the windows' own pictures, leaving out the excluded ones, as the server itself
/// would show them. Only a window's redirected picture has its covered parts; the caller must have redirected the
/// windows. One thread.
class ExcludedWindowCompositor {
  public:
    explicit ExcludedWindowCompositor(const XConnection& connection);
    ~ExcludedWindowCompositor();
    ExcludedWindowCompositor(const ExcludedWindowCompositor&) = delete;
    ExcludedWindowCompositor& operator=(const ExcludedWindowCompositor&) = delete;

    /// Returns a pixmap of the part of the desktop; its corner is the part's corner, and the caller frees it. `stack`
    /// goes from back to front. The caller must hold a server grab.
    std::uint32_t paint(const PixelRect& part, std::span<const StackedWindow> stack);

    /// Our own helper window behind all others, which must not be in the stack; 0 while there is none.
    std::uint32_t backdrop() const { return backdrop_; }

  private:
    void readFormats();
    void paintBackground(const PixelRect& part, std::uint32_t target);
    void paintWindow(const PixelRect& part, const StackedWindow& window, std::uint32_t target);
    std::uint32_t rootPixmap() const;
    bool isComposited() const;
    void makeBackdrop();

    const XConnection& connection_;
    struct Format {
        std::uint32_t id = 0;
        bool hasAlpha = false;
    };
    std::map<std::uint32_t, Format> formats_;  // by visual
    std::uint32_t backdrop_ = 0;
    bool composited_ = false;
};

}  // namespace lumivastor::x11
