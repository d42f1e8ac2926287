// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

struct xcb_connection_t;

namespace lumivastor {

/// Presses a test desktop's keys: the window with keyboard focus gets them. Throws std::runtime_error for keys that the
/// keyboard does not have. One thread.
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

    /// Presses the keys with these symbols one after the other, and releases them in the opposite order. Letters are
    /// given as lower-case ASCII codes. Returns when the server has processed it.
    void press(const std::vector<unsigned>& symbols);

  private:
    unsigned char keyFor(unsigned symbol) const;
    void fake(unsigned char type, unsigned char key) const;

    xcb_connection_t* connection_ = nullptr;
};

}  // namespace lumivastor
