// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

struct xcb_connection_t;

namespace lumivastor {

/// Presses a test desktop's keys, as fingers do: whatever has the keyboard sees it. Throws std::runtime_error for keys
/// that the keyboard does not have. One thread.
class ScriptedKeyboard {
  public:
    explicit ScriptedKeyboard(const std::string& displayName);
    ~ScriptedKeyboard();
    ScriptedKeyboard(const ScriptedKeyboard&) = delete;
    ScriptedKeyboard& operator=(const ScriptedKeyboard&) = delete;

    static constexpr unsigned kReturn = 0xff0d;
    static constexpr unsigned kEscape = 0xff1b;
    static constexpr unsigned kShift = 0xffe1;
    static constexpr unsigned kControl = 0xffe3;
    static constexpr unsigned kAlt = 0xffe9;

    /// Presses the keys with these symbols one after the other, and lets them go in the opposite order. Letters are
    /// their small ones' ASCII codes. Returns when the server has done it.
    void press(const std::vector<unsigned>& symbols);

  private:
    unsigned char keyFor(unsigned symbol) const;
    void fake(unsigned char type, unsigned char key) const;

    xcb_connection_t* connection_ = nullptr;
};

}  // namespace lumivastor
