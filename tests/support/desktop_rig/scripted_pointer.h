// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

struct xcb_connection_t;

namespace lumivastor {

/// Moves a test desktop's pointer and presses its buttons; every program on the desktop sees it. Each function returns
/// when the server has processed it. One thread.
class ScriptedPointer {
  public:
    explicit ScriptedPointer(const std::string& displayName);
    ~ScriptedPointer();
    ScriptedPointer(const ScriptedPointer&) = delete;
    ScriptedPointer& operator=(const ScriptedPointer&) = delete;

    /// In pixels of the whole desktop. Each returns the host clock (seconds) from before its request.
    double moveTo(int x, int y);
    /// 1 left, 2 middle, 3 right, 4 to 7 a wheel's notches up, down, left and right.
    double press(int button);
    double release(int button);
    /// Press and release.
    double click(int button);

    /// Sets the logical button of each physical button, from the first on.
    void setMapping(const std::string& mapping);

  private:
    double fake(unsigned char type, int detail, int x, int y);

    xcb_connection_t* connection_ = nullptr;
    unsigned root_ = 0;
};

}  // namespace lumivastor
