// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPoint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "support/driven_application.h"
#include "support/program_home.h"
#include "support/program_run.h"
#include "support/wayland_rig/scripted_wayland_pointer.h"
#include "support/wayland_rig/sway_rig.h"

namespace lumivastor {

/// The program itself on its own Wayland desktop, driven with a pointer. Destruction ends the program and deletes its
/// home folder. One thread.
class DrivenWaylandApplication {
  public:
    /// In points.
    static constexpr int kWidth = 1280;
    static constexpr int kHeight = 800;

    /// `scale`: pixels per point.
    explicit DrivenWaylandApplication(WindowMap& map, double scale = 1);
    ~DrivenWaylandApplication();

    SwayRig& desktop() { return rig_; }
    const SwayRig& desktop() const { return rig_; }
    ScriptedWaylandPointer& pointer() { return pointer_; }
    const ProgramHome& home() const { return home_; }
    std::map<std::string, std::string> environment() const;

    /// Starts the program and waits until its window is shown and sources are listed. False when that takes too long.
    [[nodiscard]] bool start();
    ProgramRun& program() { return *program_; }
    /// Runs the program with a verb to its end; returns its exit status.
    int runVerb(const std::string& verb) const;

    bool isShown(const std::string& title) const { return rig_.windowRect(title).has_value(); }
    /// In points of a window. False when there is no such window.
    [[nodiscard]] bool clickAt(const std::string& title, QPoint at);
    [[nodiscard]] bool click(const std::string& control) { return clickAt(kMainTitle, map_.control(control)); }
    [[nodiscard]] bool choose(app::SourceType type) { return clickAt(kMainTitle, map_.segment(type)); }
    /// `atEnd` runs before the button is released.
    [[nodiscard]] bool drag(const std::string& title, QPoint from, QPoint to, const std::function<void()>& atEnd = {});

  private:
    WindowMap& map_;
    SwayRig rig_;
    ScriptedWaylandPointer pointer_{rig_.display(), kWidth, kHeight};
    ProgramHome home_;
    std::unique_ptr<ProgramRun> program_;
};

}  // namespace lumivastor
