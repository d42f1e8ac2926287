// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/pixel_size.h"
#include "platform/capture_device.h"
#include "platform/capture_stream.h"
#include "platform/pictures/picture_source.h"
#include "platform/x11/x_damage.h"
#include "platform/x11/x_image_reader.h"

namespace lumivastor::x11 {

/// Pictures of one window's content, also while it is covered or partly off the screen. The window's top-left corner is
/// always the picture's. After a change of size, content that does not fit is cut off, and the rest of the picture is
/// black.
class WindowSource : public platform::PictureSource {
  public:
    /// Throws `RecorderError` when the window does not exist. The connection must outlive the source.
    WindowSource(const XConnection& connection, std::uint32_t window,
                 const platform::StreamConfiguration& configuration);
    ~WindowSource() override;
    WindowSource(const WindowSource&) = delete;
    WindowSource& operator=(const WindowSource&) = delete;

    void update(imaging::DamageArea& damage) override;
    bool isHidden() const override { return pixmap_ == 0; }
    std::optional<std::string> ended() const override { return ended_; }
    std::optional<Point> takeOrigin() override { return std::nullopt; }
    std::optional<std::string> takeNotice() override { return std::nullopt; }
    bool paint(imaging::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) override;

  private:
    void watchAncestors();
    void readEvents();
    void handleEvent(const XEvent& event);
    void takePixmap();
    void dropPixmap();

    const XConnection& connection_;
    const std::uint32_t window_;
    const PixelSize size_;
    XDamage damage_;
    XImageReader reader_;
    std::vector<std::uint32_t> ancestors_;  // between the window and the desktop
    std::uint32_t pixmap_ = 0;              // 0 while the window is not on the screen
    PixelRect content_;                     // of the pixmap: what the picture shows, at most its size
    PixelRect inside_;                      // of the pixmap: without the border
    bool placeChanged_ = true;
    std::optional<std::string> ended_;
};

}  // namespace lumivastor::x11
