// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/pixel_size.h"
#include "platform/capture_device.h"
#include "platform/capture_stream.h"
#include "platform/pictures/picture_source.h"
#include "platform/x11/excluded_windows.h"
#include "platform/x11/screen_scales.h"
#include "platform/x11/x_damage.h"
#include "platform/x11/x_image_reader.h"

namespace lumivastor::x11 {

/// Pictures of a display or a part of it, without the windows of some programs. When the display moves or changes its
/// size, pictures follow its origin and keep their size: content is cut off, or missing content is black.
class DisplaySource : public platform::PictureSource {
  public:
    /// Throws `RecorderError` when the display does not exist. The connection must outlive the source.
    DisplaySource(const XConnection& connection, const platform::DisplayFilter& filter,
                  const platform::StreamConfiguration& configuration, const ScreenScales& environment);

    void update(imaging::DamageArea& damage) override;
    bool isHidden() const override { return visible_.isEmpty(); }
    std::optional<std::string> ended() const override { return ended_; }
    std::optional<Point> takeOrigin() override { return std::exchange(origin_, std::nullopt); }
    std::optional<std::string> takeNotice() override { return std::exchange(notice_, std::nullopt); }
    bool paint(imaging::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) override;

  private:
    bool paintWithoutExcluded(std::span<const XImageReader::Piece> pieces, imaging::BgraPremultipliedBuffer& picture);
    void layOut();
    void readEvents();
    bool tellsLayout(const XEvent& event) const;
    void followDisplay(imaging::DamageArea& damage);

    const XConnection& connection_;
    const ScreenScales environment_;
    const std::optional<Rect> sourceRect_;
    const PixelSize size_;
    platform::Display display_;
    PixelRect area_;     // of the desktop; its corner is the picture's corner
    PixelRect visible_;  // the part of the picture that lies on the desktop
    bool layoutChanged_ = false;
    XDamage damage_;
    XImageReader reader_;
    ExcludedWindows excluded_;
    std::optional<std::string> ended_;
    std::optional<std::string> notice_;
    std::optional<Point> origin_;
};

}  // namespace lumivastor::x11
