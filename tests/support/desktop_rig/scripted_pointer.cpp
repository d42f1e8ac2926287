// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/desktop_rig/scripted_pointer.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace lumivastor {

ScriptedPointer::ScriptedPointer(const std::string& displayName)
    : connection_(xcb_connect(displayName.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) throw std::runtime_error("the rig's server lets no pointer in");
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
}

ScriptedPointer::~ScriptedPointer() {
    xcb_disconnect(connection_);
}

double ScriptedPointer::fake(unsigned char type, int detail, int x, int y) {
    const double before = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    xcb_test_fake_input(connection_, type, static_cast<std::uint8_t>(detail), XCB_CURRENT_TIME, root_,
                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    return before;
}

double ScriptedPointer::moveTo(int x, int y) {
    return fake(XCB_MOTION_NOTIFY, 0, x, y);
}

double ScriptedPointer::press(int button) {
    return fake(XCB_BUTTON_PRESS, button, 0, 0);
}

double ScriptedPointer::release(int button) {
    return fake(XCB_BUTTON_RELEASE, button, 0, 0);
}

double ScriptedPointer::click(int button) {
    const double before = press(button);
    release(button);
    return before;
}

void ScriptedPointer::setMapping(const std::string& mapping) {
    std::free(
        xcb_set_pointer_mapping_reply(connection_,
                                      xcb_set_pointer_mapping(connection_, static_cast<std::uint8_t>(mapping.size()),
                                                              reinterpret_cast<const std::uint8_t*>(mapping.data())),
                                      nullptr));
}

}  // namespace lumivastor
