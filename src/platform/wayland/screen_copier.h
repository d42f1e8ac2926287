// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "imaging/pixel_buffer.h"
#include "platform/pictures/picture_turn.h"

namespace lumivastor::wayland {

/// Copies of a whole screen, from compositors built on wlroots. Their portal sends nothing before something changes,
/// and again nothing for a moment after that; a copy shows what is there. One thread.
class ScreenCopier {
  public:
    /// `display` as WAYLAND_DISPLAY, or empty; `output`: the connector's name. Null when the compositor is another one
    /// or has no such screen.
    static std::unique_ptr<ScreenCopier> open(const std::string& display, const std::string& output);
    ~ScreenCopier();
    ScreenCopier(const ScreenCopier&) = delete;
    ScreenCopier& operator=(const ScreenCopier&) = delete;

    /// The screen as it is now, opaque, in its own pixels as they lie in memory (`turn`); nullopt when the compositor
    /// refuses or does not answer within half a second.
    std::optional<imaging::BgraPremultipliedBuffer> copy(bool withPointer);
    /// Of the last copy.
    platform::PictureTurn turn() const;
    /// When the compositor showed what the last copy shows, on the host clock.
    double hostSeconds() const;

  private:
    class Impl;
    explicit ScreenCopier(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

}  // namespace lumivastor::wayland
