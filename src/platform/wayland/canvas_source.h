// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/pixel_size.h"
#include "platform/pictures/picture_source.h"
#include "platform/wayland/screen_canvas.h"

namespace lumivastor::wayland {

/// The part of a canvas that a recording shows. The recording keeps its size when the content's changes: content that
/// does not fit is cut off, and missing content is black.
class CanvasSource final : public platform::PictureSource {
  public:
    struct Options {
        /// The pixel of the content that is the picture's top-left one. May lie outside of the content.
        int x = 0;
        int y = 0;
        PixelSize size;  // of the picture
        /// Whether a notice says that the content has another size. Windows change theirs in many steps.
        bool tellsSize = true;
        /// Seconds without a first picture after which the user is told why.
        double patience = 0.3;
        /// Seconds without a stream after which the user is told.
        double restPatience = 1;
    };

    /// `ended` says why no picture can follow, as `PictureSource::ended` does. The canvas must outlive the source.
    CanvasSource(ScreenCanvas& canvas, const Options& options, std::function<std::optional<std::string>()> ended);
    ~CanvasSource() override;
    CanvasSource(const CanvasSource&) = delete;
    CanvasSource& operator=(const CanvasSource&) = delete;

    void update(imaging::DamageArea& damage) override;
    bool isHidden() const override;
    std::optional<std::string> ended() const override { return ended_(); }
    bool outlastsItsEnd() const override { return true; }
    std::optional<Point> takeOrigin() override { return std::nullopt; }
    std::optional<std::string> takeNotice() override;
    bool paint(imaging::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) override;
    std::optional<double> contentSeconds() const override { return state_.shownAt; }
    void onArrival(std::function<void()> wake) override { canvas_.onChange(std::move(wake)); }

  private:
    std::optional<std::string> restNotice();

    ScreenCanvas& canvas_;
    const Options options_;
    const std::function<std::optional<std::string>()> ended_;
    const double begun_;  // host seconds
    ScreenCanvas::State state_;
    bool hasStreamed_ = false;
    bool hasUntaken_ = false;  // content that no picture shows yet
    std::optional<std::string> notice_;
    bool hasToldOfWaiting_ = false;
    std::optional<double> restsSince_;  // host seconds
    bool hasToldOfRest_ = false;        // the present one
};

}  // namespace lumivastor::wayland
