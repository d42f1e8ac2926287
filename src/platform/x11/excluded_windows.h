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

class ClientProcesses;

/// The windows of the programs that a display's pictures leave out. Costs nothing while none of them is on the screen.
/// Only the thread that reads the connection's events.
class ExcludedWindows {
  public:
    ExcludedWindows(const XConnection& connection, std::vector<platform::RunningApplication> applications);
    ~ExcludedWindows();
    ExcludedWindows(const ExcludedWindows&) = delete;
    ExcludedWindows& operator=(const ExcludedWindows&) = delete;

    /// Whether any programs are excluded. If not, the other functions need not be called.
    bool isAsked() const { return !applications_.empty(); }
    /// For events about the root window's structure and properties.
    void handleEvent(const XEvent& event);
    void notifyDamage(std::uint32_t damage);

    /// Looks the windows up again if events reported changes. Adds to `painted` what was painted beneath them without
    /// changing the screen, in the desktop's pixels.
    void update(const PixelRect& area, imaging::DamageArea& painted);
    bool isAnyIn(const PixelRect& area) const;
    /// Whether events reported changes since the last `update`.
    bool hasChanged() const { return ownersChanged_ || stackChanged_; }
    /// Looks up the windows' present places for the read that follows. Grab the server before reading the events, and
    /// release it after that read.
    void refresh(const PixelRect& area);
    /// Reads pieces of the root window as they would look without these windows, all at the same moment. False when the
    /// server refuses.
    bool readWithout(XImageReader& reader, std::span<const XImageReader::Piece> pieces,
                     imaging::BgraPremultipliedBuffer& picture);

  private:
    bool isExcluded(int process, const std::optional<std::string>& name) const;
    void findOwners();
    std::set<std::uint32_t> emptiedFrames(const std::vector<std::uint32_t>& onRoot,
                                          const ClientProcesses& processes) const;
    void readStack();
    void redirectTouching(const PixelRect& area);
    bool cover(XImageReader& reader, std::span<const XImageReader::Piece> pieces,
               imaging::BgraPremultipliedBuffer& picture);

    struct Touching {
        PixelRect outside;
        int border = 0;
        std::unique_ptr<XDamage> damage;
    };

    const XConnection& connection_;
    const std::vector<platform::RunningApplication> applications_;
    bool ownersChanged_ = true;
    bool stackChanged_ = true;
    std::set<std::uint32_t> excluded_;  // top-level windows, children of the root
    std::vector<StackedWindow> stack_;  // empty while no excluded window is visible
    std::map<std::uint32_t, Touching> touching_;
    std::unique_ptr<ExcludedWindowCompositor> compositor_;
};

}  // namespace lumivastor::x11
