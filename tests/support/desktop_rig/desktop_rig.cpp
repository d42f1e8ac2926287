// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/desktop_rig/desktop_rig.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <stdexcept>

#include "support/await.h"

namespace lumivastor {
namespace {

std::uint32_t atom(xcb_connection_t* connection, const std::string& name) {
    auto* const reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str()), nullptr);
    if (reply == nullptr) throw std::runtime_error("the rig's server does not answer");
    const std::uint32_t value = reply->atom;
    std::free(reply);
    return value;
}

bool hasProperty(xcb_connection_t* connection, std::uint32_t window, std::uint32_t property) {
    auto* const reply = xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1), nullptr);
    const bool has = reply != nullptr && reply->type != XCB_ATOM_NONE;
    std::free(reply);
    return has;
}

struct SetMonitor {
    std::uint8_t major;  // these three are filled in by the library
    std::uint8_t minor;
    std::uint16_t length;
    xcb_window_t root;
    xcb_randr_monitor_info_t info;
    xcb_randr_output_t output;
};

// The library's own function for this counts the request's length wrongly (libxcb 1.15).
void send(xcb_connection_t* connection, SetMonitor& request) {
    const std::size_t size = sizeof request - (request.info.nOutput == 0 ? sizeof request.output : 0);
    iovec parts[3] = {{}, {}, {&request, size}};  // the library uses the two in front
    const xcb_protocol_request_t protocol{1, &xcb_randr_id, XCB_RANDR_SET_MONITOR, 1};
    xcb_send_request(connection, 0, parts + 2, &protocol);
}

// Without an output.
SetMonitor monitorRequest(xcb_connection_t* connection, xcb_window_t root, const RigMonitor& monitor) {
    SetMonitor request{};
    request.root = root;
    request.info.name = atom(connection, monitor.name);
    request.info.primary = monitor.isPrimary ? 1 : 0;
    request.info.x = static_cast<std::int16_t>(monitor.x);
    request.info.y = static_cast<std::int16_t>(monitor.y);
    request.info.width = static_cast<std::uint16_t>(monitor.width);
    request.info.height = static_cast<std::uint16_t>(monitor.height);
    request.info.width_in_millimeters = static_cast<std::uint32_t>(monitor.width / 4);
    request.info.height_in_millimeters = static_cast<std::uint32_t>(monitor.height / 4);
    return request;
}

std::string lockFile(int number) {
    return "/tmp/.X" + std::to_string(number) + "-lock";
}

}  // namespace

DesktopRig::DesktopRig(const Options& options) {
    startServer(options);
    if (options.hasWindowManager) startManager();
}

void DesktopRig::startServer(const Options& options) {
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const std::string screen = std::to_string(options.width) + "x" + std::to_string(options.height) + "x24";
    // Without a reset it forgets nothing when its last program leaves.
    server_ = std::make_unique<RigProgram>(
        std::vector<std::string>{"Xvfb", "-displayfd", std::to_string(ready[1]), "-screen", "0", screen, "-noreset",
                                 "-nolisten", "tcp", "+extension", "Composite", "+extension", "RANDR"},
        "xvfb", ready[1]);
    close(ready[1]);
    try {
        number_ = awaitNumber(ready[0], "Xvfb");
    } catch (...) {
        close(ready[0]);
        throw;
    }
    close(ready[0]);
    displayName_ = ":" + std::to_string(number_);
    connection_ = xcb_connect(displayName_.c_str(), nullptr);
    if (xcb_connection_has_error(connection_) != 0) throw std::runtime_error("Xvfb lets nobody in");
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
}

void DesktopRig::startManager() {
    char name[] = "/tmp/lumivastor-rig-XXXXXX";
    if (mkdtemp(name) == nullptr) throw std::runtime_error("no folder for the window manager");
    folder_ = name;
    std::ofstream(folder_ + "/rc.xml") << R"(<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc"><placement><policy>Smart</policy></placement></openbox_config>
)";
    manager_ = std::make_unique<RigProgram>(
        std::vector<std::string>{"openbox", "--sm-disable", "--config-file", folder_ + "/rc.xml"}, "openbox", -1,
        std::vector<std::string>{"DISPLAY=" + displayName_, "XDG_CACHE_HOME=" + folder_});
    // It looks for requests that came while it started only when another comes: so until it manages this window, ask
    // again.
    const std::uint32_t probe = xcb_generate_id(connection_);
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, probe, root_, 0, 0, 10, 10, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    const std::uint32_t state = atom(connection_, "WM_STATE");
    const bool isManaging = await([&] {
        xcb_map_window(connection_, probe);
        return hasProperty(connection_, probe, state);
    });
    xcb_destroy_window(connection_, probe);
    sync();
    if (!isManaging) throw std::runtime_error("openbox did not start");
}

DesktopRig::~DesktopRig() {
    if (connection_ != nullptr && server_->isRunning()) xcb_disconnect(connection_);
    manager_.reset();
    if (server_) server_->end();
    std::error_code ignored;
    if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
    // A server that ended by itself has cleaned up, and these may already be another's.
    if (!holdsNumber_) return;
    std::filesystem::remove("/tmp/.X11-unix/X" + std::to_string(number_), ignored);
    std::filesystem::remove(lockFile(number_), ignored);
}

void DesktopRig::sync() const {
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

void DesktopRig::setMonitors(const std::vector<RigMonitor>& monitors) {
    auto* const resources = xcb_randr_get_screen_resources_current_reply(
        connection_, xcb_randr_get_screen_resources_current(connection_, root_), nullptr);
    if (resources == nullptr || resources->num_outputs < 1) throw std::runtime_error("the rig's server has no output");
    const xcb_randr_output_t output = xcb_randr_get_screen_resources_current_outputs(resources)[0];
    std::free(resources);
    bool isFirst = true;
    for (const RigMonitor& monitor : monitors) {
        SetMonitor request = monitorRequest(connection_, root_, monitor);
        request.info.nOutput = isFirst ? 1 : 0;
        request.output = output;
        send(connection_, request);
        isFirst = false;
    }
    sync();
}

void DesktopRig::removeMonitor(const std::string& name) {
    xcb_randr_delete_monitor(connection_, root_, atom(connection_, name));
    sync();
}

// The server refuses to set a monitor of a name that it has already.
void DesktopRig::moveMonitor(const RigMonitor& monitor) {
    xcb_grab_server(connection_);
    xcb_randr_delete_monitor(connection_, root_, atom(connection_, monitor.name));
    SetMonitor request = monitorRequest(connection_, root_, monitor);
    send(connection_, request);
    xcb_ungrab_server(connection_);
    sync();
}

void DesktopRig::setDotsPerInch(int dotsPerInch) {
    const std::string text = "Xft.dpi:\t" + std::to_string(dotsPerInch) + "\n";
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, root_, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(text.size()), text.c_str());
    sync();
}

void DesktopRig::setScreenSize(int width, int height) {
    // The output shows only modes that it has; the screen around it may have any size that holds the mode.
    auto* const resources = xcb_randr_get_screen_resources_current_reply(
        connection_, xcb_randr_get_screen_resources_current(connection_, root_), nullptr);
    if (resources == nullptr || resources->num_crtcs < 1) throw std::runtime_error("the rig's server has no output");
    const xcb_randr_crtc_t crtc = xcb_randr_get_screen_resources_current_crtcs(resources)[0];
    xcb_randr_output_t output = xcb_randr_get_screen_resources_current_outputs(resources)[0];
    const std::uint32_t config = resources->config_timestamp;
    xcb_randr_mode_t mode = XCB_NONE;
    const auto* modes = xcb_randr_get_screen_resources_current_modes(resources);
    for (int i = 0; i < xcb_randr_get_screen_resources_current_modes_length(resources); ++i) {
        if (modes[i].width == width && modes[i].height == height) mode = modes[i].id;
    }
    std::free(resources);
    if (mode == XCB_NONE) {
        xcb_randr_mode_info_t info{};
        info.width = static_cast<std::uint16_t>(width);
        info.height = static_cast<std::uint16_t>(height);
        info.htotal = info.width;
        info.vtotal = info.height;
        info.dot_clock = static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(height) * 60U;
        const std::string name = std::to_string(width) + "x" + std::to_string(height) + "-rig";
        info.name_len = static_cast<std::uint16_t>(name.size());
        auto* const created = xcb_randr_create_mode_reply(
            connection_,
            xcb_randr_create_mode(connection_, root_, info, static_cast<std::uint32_t>(name.size()), name.c_str()),
            nullptr);
        if (created == nullptr) throw std::runtime_error("the rig's server makes no mode");
        mode = created->mode;
        std::free(created);
        xcb_randr_add_output_mode(connection_, output, mode);
    }
    const auto configure = [&](xcb_randr_mode_t to, std::uint32_t outputs) {
        auto* const reply = xcb_randr_set_crtc_config_reply(
            connection_,
            xcb_randr_set_crtc_config(connection_, crtc, XCB_CURRENT_TIME, config, 0, 0, to,
                                      XCB_RANDR_ROTATION_ROTATE_0, outputs, &output),
            nullptr);
        const bool isSet = reply != nullptr && reply->status == 0;
        std::free(reply);
        if (!isSet) throw std::runtime_error("the rig's server does not change its mode");
    };
    configure(XCB_NONE, 0);
    xcb_randr_set_screen_size(connection_, root_, static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height),
                              static_cast<std::uint32_t>(width / 4), static_cast<std::uint32_t>(height / 4));
    configure(mode, 1);
    sync();
}

void DesktopRig::paintRoot(std::uint32_t color, bool leavesPixmap) {
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    if (leavesPixmap) {
        const std::uint32_t pixmap = xcb_generate_id(connection_);
        xcb_create_pixmap(connection_, screen->root_depth, pixmap, root_, screen->width_in_pixels,
                          screen->height_in_pixels);
        const std::uint32_t context = xcb_generate_id(connection_);
        xcb_create_gc(connection_, context, pixmap, XCB_GC_FOREGROUND, &color);
        const xcb_rectangle_t all{0, 0, screen->width_in_pixels, screen->height_in_pixels};
        xcb_poly_fill_rectangle(connection_, pixmap, context, 1, &all);
        xcb_free_gc(connection_, context);
        xcb_change_window_attributes(connection_, root_, XCB_CW_BACK_PIXMAP, &pixmap);
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, root_, atom(connection_, "_XROOTPMAP_ID"),
                            XCB_ATOM_PIXMAP, 32, 1, &pixmap);
    } else {
        xcb_change_window_attributes(connection_, root_, XCB_CW_BACK_PIXEL, &color);
    }
    xcb_clear_area(connection_, 0, root_, 0, 0, 0, 0);
    sync();
}

void DesktopRig::killServer() {
    // The library would write to a connection that is closed.
    xcb_disconnect(connection_);
    connection_ = nullptr;
    manager_.reset();
    // Its number would be free for the server of a test that runs beside this one. A lock that a living process holds
    // is left alone, and a killed server does not remove its own.
    const std::string ours = lockFile(number_) + "-rig";
    std::ofstream(ours) << std::setw(10) << getpid() << '\n';
    std::filesystem::rename(ours, lockFile(number_));
    holdsNumber_ = true;
    server_->kill();
}

}  // namespace lumivastor
