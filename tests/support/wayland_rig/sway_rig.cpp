// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/wayland_rig/sway_rig.h"

#include <systemd/sd-bus.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "support/await.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

constexpr const char* kLibexec = "/usr/libexec/";

// The first file in a folder whose name begins and ends so; empty when there is none.
std::filesystem::path findIn(const std::filesystem::path& folder, const std::string& start, const std::string& end) {
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), last; !error && entry != last;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.starts_with(start) && name.ends_with(end)) return entry->path();
    }
    return {};
}

std::string requireLibexec(const std::string& name) {
    const std::string path = kLibexec + name;
    if (!std::filesystem::exists(path)) throw std::runtime_error("missing: " + path + " (package " + name + ")");
    return path;
}

bool hasOwner(const std::string& busAddress, const std::string& name) {
    sd_bus* bus = nullptr;
    if (sd_bus_new(&bus) < 0) return false;
    sd_bus_message* reply = nullptr;
    int isOwned = 0;
    if (sd_bus_set_address(bus, busAddress.c_str()) >= 0 && sd_bus_set_bus_client(bus, 1) >= 0 &&
        sd_bus_start(bus) >= 0 &&
        sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
                           nullptr, &reply, "s", name.c_str()) >= 0) {
        sd_bus_message_read(reply, "b", &isOwned);
    }
    sd_bus_message_unref(reply);
    sd_bus_flush_close_unref(bus);
    return isOwned != 0;
}

}  // namespace

SwayRig::SwayRig(const Options& options) {
    requireProgram("sway", "sway");
    requireProgram("swaymsg", "sway");
    startCompositor(options);
    startPortal();
}

SwayRig::~SwayRig() = default;

std::map<std::string, std::string> SwayRig::environment() const {
    auto environment = pipeWire_.environment();
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus_.address();
    environment["WAYLAND_DISPLAY"] = display();
    environment["XDG_SESSION_TYPE"] = "wayland";
    environment["XDG_CURRENT_DESKTOP"] = "sway";
    environment["PULSE_SERVER"] = pipeWire_.pulseAddress();
    environment["DISPLAY"] = "";
    environment["QT_QPA_PLATFORM"] = "wayland";
    return environment;
}

std::string SwayRig::display() const {
    return findIn(pipeWire_.folder().path(), "wayland-", "1").string();
}

void SwayRig::startCompositor(const Options& options) {
    folder_.write("sway.conf", "output HEADLESS-1 mode --custom " + std::to_string(options.width) + "x" +
                                   std::to_string(options.height) + "@60Hz\noutput HEADLESS-1 scale " +
                                   std::to_string(options.scale) +
                                   "\noutput * bg #305070 solid_color\ndefault_border none\nxwayland disable\n");
    auto environment = pipeWire_.environment();
    environment["WLR_BACKENDS"] = "headless";
    environment["WLR_RENDERER"] = "pixman";
    environment["WLR_LIBINPUT_NO_DEVICES"] = "1";
    environment["WLR_HEADLESS_OUTPUTS"] = "1";
    environment["WAYLAND_DISPLAY"] = "";
    environment["DISPLAY"] = "";
    std::vector<std::string> command{"sway", "-c", (folder_ / "sway.conf").string()};
    // It refuses to run as root; in a user namespace it sees another number.
    if (::geteuid() == 0) {
        requireProgram("unshare", "util-linux");
        command.insert(command.begin(), {"unshare", "--user", "--map-user=1000", "--map-group=1000"});
    }
    compositor_ = std::make_unique<ChildProcess>(command, environment, folder_ / "sway.log");
    const bool answers = await([this] {
        if (!compositor_->isRunning()) return true;
        if (display().empty()) return false;
        try {
            this->command("nop");
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    });
    if (!answers || !compositor_->isRunning()) {
        throw std::runtime_error("no compositor: " + readText(folder_ / "sway.log"));
    }
}

void SwayRig::startPortal() {
    folder_.write("portal.conf", "[screencast]\noutput_name=HEADLESS-1\nmax_fps=0\nchooser_type=none\n");
    auto environment = this->environment();
    // With this the portal's tokens really restore a choice.
    environment["XDPW_PERSIST_MODE"] = "permanent";
    auto preloaded = environment;
    preloaded["LD_PRELOAD"] = LUMI_PORTAL_SHIM;
    backend_ =
        std::make_unique<ChildProcess>(std::vector<std::string>{requireLibexec("xdg-desktop-portal-wlr"), "-r", "-l",
                                                                "INFO", "-c", (folder_ / "portal.conf").string()},
                                       preloaded, folder_ / "backend.log");
    const auto await = [this](const std::string& name, ChildProcess& process, const char* log) {
        const bool isThere = lumivastor::await([&] { return hasOwner(bus_.address(), name) || !process.isRunning(); });
        if (!isThere || !process.isRunning()) throw std::runtime_error("no " + name + ": " + readText(folder_ / log));
    };
    await("org.freedesktop.impl.portal.desktop.wlr", *backend_, "backend.log");
    portal_ = std::make_unique<ChildProcess>(std::vector<std::string>{requireLibexec("xdg-desktop-portal"), "-r"},
                                             environment, folder_ / "portal.log");
    await("org.freedesktop.portal.Desktop", *portal_, "portal.log");
}

void SwayRig::command(const std::string& text) {
    const auto socket = findIn(pipeWire_.folder().path(), "sway-ipc.", ".sock");
    const auto log = folder_ / "swaymsg.log";
    std::error_code ignored;
    std::filesystem::remove(log, ignored);
    ChildProcess message({"swaymsg", "-s", socket.string(), text}, {}, log);
    if (!message.wait()) throw std::runtime_error("sway refuses: " + text + ": " + readText(log));
}

void SwayRig::killPortal() {
    backend_->kill();
}

void SwayRig::killCompositor() {
    compositor_->kill();
}

}  // namespace lumivastor
