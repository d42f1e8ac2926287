// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/desktop_rig/xwayland_rig.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "support/await.h"
#include "support/desktop_rig/desktop_rig.h"

namespace lumivastor {
namespace {

constexpr const char* kSocket = "wayland-rig";

bool answers(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error("too long for a socket: " + path);
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool does = connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(connection);
    return does;
}

}  // namespace

XwaylandRig::XwaylandRig() {
    char name[] = "/tmp/lumivastor-wayland-XXXXXX";
    if (mkdtemp(name) == nullptr) throw std::runtime_error("no folder for the compositor");
    folder_ = name;
    try {
        startCompositor();
        startServer();
    } catch (...) {
        std::filesystem::remove_all(folder_);
        throw;
    }
}

XwaylandRig::~XwaylandRig() {
    server_.reset();
    compositor_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::map<std::string, std::string> XwaylandRig::environment() const {
    return {{"DISPLAY", displayName_},
            {"WAYLAND_DISPLAY", kSocket},
            {"XDG_RUNTIME_DIR", folder_},
            {"XDG_SESSION_TYPE", "wayland"}};
}

void XwaylandRig::startCompositor() {
    compositor_ = std::make_unique<RigProgram>(
        std::vector<std::string>{"weston", "--backend=headless-backend.so", "--use-pixman", "--no-config",
                                 "--shell=kiosk-shell.so", std::string("--socket=") + kSocket, "--idle-time=0",
                                 "--width=800", "--height=600", "--log=" + folder_ + "/weston.log"},
        "weston", -1, std::vector<std::string>{"XDG_RUNTIME_DIR=" + folder_});
    if (!await([&] { return !compositor_->isRunning() || answers(folder_ + "/" + kSocket); }) ||
        !compositor_->isRunning()) {
        throw std::runtime_error("weston did not start");
    }
}

void XwaylandRig::startServer() {
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    server_ = std::make_unique<RigProgram>(
        std::vector<std::string>{"Xwayland", "-displayfd", std::to_string(ready[1]), "-rootless", "-noreset",
                                 "-nolisten", "tcp"},
        "xwayland", ready[1],
        std::vector<std::string>{std::string("WAYLAND_DISPLAY=") + kSocket, "XDG_RUNTIME_DIR=" + folder_});
    close(ready[1]);
    try {
        displayName_ = ":" + std::to_string(awaitNumber(ready[0], "Xwayland"));
    } catch (...) {
        close(ready[0]);
        throw;
    }
    close(ready[0]);
}

}  // namespace lumivastor
