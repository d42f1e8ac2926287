// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/desktop_rig/scripted_keyboard.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <cstdint>
#include <cstdlib>
#include <stdexcept>

namespace lumivastor {

ScriptedKeyboard::ScriptedKeyboard(const std::string& displayName)
    : connection_(xcb_connect(displayName.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) throw std::runtime_error("the rig's server lets no keyboard in");
}

ScriptedKeyboard::~ScriptedKeyboard() {
    xcb_disconnect(connection_);
}

void ScriptedKeyboard::press(const std::vector<unsigned>& symbols) {
    std::vector<unsigned char> keys;
    for (const unsigned symbol : symbols) keys.push_back(keyFor(symbol));
    for (const unsigned char key : keys) fake(XCB_KEY_PRESS, key);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) fake(XCB_KEY_RELEASE, *key);
}

unsigned char ScriptedKeyboard::keyFor(unsigned symbol) const {
    const xcb_setup_t* const setup = xcb_get_setup(connection_);
    xcb_get_keyboard_mapping_reply_t* const reply = xcb_get_keyboard_mapping_reply(
        connection_,
        xcb_get_keyboard_mapping(connection_, setup->min_keycode,
                                 static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1)),
        nullptr);
    if (reply == nullptr) throw std::runtime_error("the rig's server has no keyboard");
    const xcb_keysym_t* const mapped = xcb_get_keyboard_mapping_keysyms(reply);
    const int count = xcb_get_keyboard_mapping_keysyms_length(reply);
    int found = -1;
    for (int i = 0; i < count && found < 0; i += reply->keysyms_per_keycode) {
        if (mapped[i] == symbol) found = setup->min_keycode + i / reply->keysyms_per_keycode;
    }
    std::free(reply);
    if (found < 0) throw std::runtime_error("the rig's keyboard lacks a key");
    return static_cast<unsigned char>(found);
}

void ScriptedKeyboard::fake(unsigned char type, unsigned char key) const {
    xcb_test_fake_input(connection_, type, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

}  // namespace lumivastor
