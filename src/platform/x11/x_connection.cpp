// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/x_connection.h"

#include <pthread.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/record.h>
#include <xcb/render.h>
#include <xcb/res.h>
#include <xcb/shape.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <csignal>
#include <cstring>
#include <ctime>

#include "base/recorder_error.h"

namespace lumivastor::x11 {
namespace {

sigset_t brokenPipe() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

bool isBrokenPipePending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

bool looksUsual(const xcb_setup_t* setup, const xcb_screen_t* screen) {
    if (setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST) return false;
    bool has32Bits = false;
    for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem > 0; xcb_format_next(&format)) {
        if (format.data->depth == screen->root_depth) has32Bits = format.data->bits_per_pixel == 32;
    }
    if (!has32Bits || (screen->root_depth != 24 && screen->root_depth != 32)) return false;
    for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem > 0; xcb_depth_next(&depth)) {
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0; xcb_visualtype_next(&visual)) {
            if (visual.data->visual_id != screen->root_visual) continue;
            return visual.data->red_mask == 0xff0000 && visual.data->green_mask == 0xff00 &&
                   visual.data->blue_mask == 0xff;
        }
    }
    return false;
}

}  // namespace

BrokenPipeGuard::BrokenPipeGuard() : wasPending_(isBrokenPipePending()) {
    const sigset_t set = brokenPipe();
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &set, &before);
    wasBlocked_ = sigismember(&before, SIGPIPE) == 1;
}

BrokenPipeGuard::~BrokenPipeGuard() {
    const sigset_t set = brokenPipe();
    // Consumes a SIGPIPE that was raised meanwhile.
    if (!wasPending_ && isBrokenPipePending()) {
        const timespec now{};
        sigtimedwait(&set, nullptr, &now);
    }
    if (!wasBlocked_) pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

XConnection::XConnection(const std::string& displayName) {
    const BrokenPipeGuard guard;
    int number = 0;
    connection_ = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &number);
    const xcb_screen_t* screen = nullptr;
    if (!isBroken()) {
        auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
        for (; screens.rem > 0 && number > 0; --number) xcb_screen_next(&screens);
        if (screens.rem > 0) screen = screens.data;
    }
    if (screen == nullptr) {
        xcb_disconnect(connection_);
        throw RecorderError(displayName.empty() ? "Der Bildschirm ist nicht erreichbar. Läuft die Sitzung unter X11?"
                                                : "Der Bildschirm „" + displayName + "“ ist nicht erreichbar.");
    }
    root_ = screen->root;
    rootVisual_ = screen->root_visual;
    rootDepth_ = screen->root_depth;
    hasUsualPixels_ = looksUsual(xcb_get_setup(connection_), screen);
    negotiate();
    internAtoms();
}

XConnection::~XConnection() {
    const BrokenPipeGuard guard;
    xcb_disconnect(connection_);
}

bool XConnection::isBroken() const {
    return xcb_connection_has_error(connection_) != 0;
}

void XConnection::flush() const {
    xcb_flush(connection_);
}

XEvent XConnection::nextEvent() const {
    return XEvent(xcb_poll_for_event(connection_));
}

void XConnection::waitForServer() const {
    xReply(connection_, xcb_get_input_focus_reply, xcb_get_input_focus(connection_));
}

std::uint32_t XConnection::makeId() const {
    return xcb_generate_id(connection_);
}

// Some extensions fail all requests until the client has sent its version.
void XConnection::negotiate() {
    xcb_extension_t* const wanted[] = {&xcb_damage_id, &xcb_composite_id, &xcb_xfixes_id, &xcb_render_id,
                                       &xcb_shm_id,    &xcb_randr_id,     &xcb_res_id,    &xcb_record_id,
                                       &xcb_input_id,  &xcb_shape_id};
    for (xcb_extension_t* one : wanted) xcb_prefetch_extension_data(connection_, one);
    const auto present = [this](xcb_extension_t& one) -> const xcb_query_extension_reply_t* {
        const auto* data = xcb_get_extension_data(connection_, &one);
        return data != nullptr && data->present != 0 ? data : nullptr;
    };
    // XFIXES comes first because DAMAGE and RENDER use its regions.
    if (present(xcb_xfixes_id) != nullptr) {
        hasFixes_ =
            xReply(connection_, xcb_xfixes_query_version_reply, xcb_xfixes_query_version(connection_, 4, 0)) != nullptr;
    }
    if (const auto* data = present(xcb_damage_id); data != nullptr && hasFixes_) {
        if (xReply(connection_, xcb_damage_query_version_reply, xcb_damage_query_version(connection_, 1, 1))) {
            damageEvent_ = data->first_event;
        }
    }
    if (present(xcb_composite_id) != nullptr) {
        const auto reply =
            xReply(connection_, xcb_composite_query_version_reply, xcb_composite_query_version(connection_, 0, 4));
        hasComposite_ = reply && (reply->major_version > 0 || reply->minor_version >= 2);
    }
    if (present(xcb_render_id) != nullptr) {
        hasRender_ = xReply(connection_, xcb_render_query_version_reply,
                            xcb_render_query_version(connection_, 0, 11)) != nullptr;
    }
    if (present(xcb_shm_id) != nullptr) {
        const auto reply = xReply(connection_, xcb_shm_query_version_reply, xcb_shm_query_version(connection_));
        hasSegments_ = reply && (reply->major_version > 1 || reply->minor_version >= 2);
    }
    if (const auto* data = present(xcb_randr_id); data != nullptr) {
        const auto reply =
            xReply(connection_, xcb_randr_query_version_reply, xcb_randr_query_version(connection_, 1, 5));
        hasMonitors_ = reply && (reply->major_version > 1 || reply->minor_version >= 5);
        randrEvent_ = data->first_event;
    }
    if (present(xcb_res_id) != nullptr) {
        const auto reply = xReply(connection_, xcb_res_query_version_reply, xcb_res_query_version(connection_, 1, 2));
        hasClientIds_ = reply && (reply->server_major > 1 || reply->server_minor >= 2);
    }
    if (present(xcb_record_id) != nullptr) {
        hasRecord_ = xReply(connection_, xcb_record_query_version_reply,
                            xcb_record_query_version(connection_, 1, 13)) != nullptr;
    }
    if (const auto* data = present(xcb_input_id); data != nullptr) {
        const auto reply =
            xReply(connection_, xcb_input_xi_query_version_reply, xcb_input_xi_query_version(connection_, 2, 2));
        if (reply && (reply->major_version > 2 || reply->minor_version >= 1)) inputOpcode_ = data->major_opcode;
    }
}

void XConnection::internAtoms() {
    std::vector<xcb_intern_atom_cookie_t> cookies;
    for (const char* name : kAtomNames) {
        cookies.push_back(xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name));
    }
    for (const auto cookie : cookies) {
        const auto reply = xReply(connection_, xcb_intern_atom_reply, cookie);
        atoms_.push_back(reply ? reply->atom : 0);
    }
}

XServerGrab::XServerGrab(const XConnection& connection) : connection_(connection) {
    xcb_grab_server(connection_);
}

XServerGrab::~XServerGrab() {
    xcb_ungrab_server(connection_);
    connection_.flush();
}

}  // namespace lumivastor::x11
