// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

namespace lumivastor {

/// A hand that moves the pointer of a compositor built on wlroots. One thread.
class ScriptedWaylandPointer {
  public:
    /// `width` and `height`: the size of all screens together, in points. Throws std::runtime_error.
    ScriptedWaylandPointer(const std::string& display, int width, int height);
    ~ScriptedWaylandPointer();

    /// In points of the desktop. Each returns when the compositor has taken it.
    void moveTo(double x, double y);
    void press();
    void release();
    void click() {
        press();
        release();
    }

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace lumivastor
