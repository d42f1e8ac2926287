// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "platform/shareable_content.h"
#include "platform/x11/excluded_window_compositor.h"
#include "platform/x11/window_stack.h"
#include "platform/x11/x_damage.h"
#include "platform/x11/x_image_reader.h"

namespace lumivastor::x11 {

/// The windows of programs that a display's pictures do not show. Costs nothing while none of them is on the screen.
/// One thread, the one that reads the connection's events.
class ExcludedWindows {
  public:
    ExcludedWindows(const XConnection& connection, std::vector<platform::RunningApplication> applications);
    ~ExcludedWindows();
    ExcludedWindows(const ExcludedWindows&) = delete;
    ExcludedWindows& operator=(const ExcludedWindows&) = delete;

    /// Whether there are programs to leave out at all. Otherwise nothing below needs to be told anything.
    bool isAsked() const { return !applications_.empty(); }
    /// Of the root window's structure and properties.
    void handleEvent(const XEvent& event);
    void notifyDamage(std::uint32_t damage);

    /// Finds the windows anew where events told that they changed. Adds to `painted` what was painted beneath them,
    /// where the screen itself did not change; in the desktop's pixels.
    void update(const platform::PixelRect& area, platform::DamageArea& painted);
    bool isAnyIn(const platform::PixelRect& area) const;
    /// Events told something that no update has dealt with.
    bool hasChanged() const { return ownersChanged_ || stackChanged_; }
    /// Finds out where the windows are at this moment, for a reading that follows. The server is grabbed from before
    /// the events were read until after that.
    void refresh(const platform::PixelRect& area);
    /// Reads the pieces of the root window as they would look without these windows, all of one moment. False when the
    /// server refuses.
    bool readWithout(XImageReader& reader, std::span<const XImageReader::Piece> pieces,
                     imaging::BgraPremultipliedBuffer& picture);

  private:
    bool isExcluded(int process, const std::optional<std::string>& name) const;
    void findOwners();
    void readStack();
    void redirectTouching(const platform::PixelRect& area);
    bool cover(XImageReader& reader, std::span<const XImageReader::Piece> pieces,
               imaging::BgraPremultipliedBuffer& picture);

    struct Touching {
        platform::PixelRect outside;
        int border = 0;
        std::unique_ptr<XDamage> damage;
    };

    const XConnection& connection_;
    const std::vector<platform::RunningApplication> applications_;
    bool ownersChanged_ = true;
    bool stackChanged_ = true;
    std::set<std::uint32_t> excluded_;  // windows directly on the desktop
    std::vector<StackedWindow> stack_;  // empty while no excluded one can be seen
    std::map<std::uint32_t, Touching> touching_;
    std::unique_ptr<ExcludedWindowCompositor> compositor_;
};

}  // namespace lumivastor::x11
