// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/wayland_rig/sway_rig.h"

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
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
    startPortal(options);
}

// What the portal said tells why a test failed.
SwayRig::~SwayRig() {
    if (std::uncaught_exceptions() == 0 && !testing::Test::HasFailure()) return;
    for (const char* log : {"sway.log", "backend.log", "portal.log"}) {
        const std::string text = readText(folder_ / log);
        std::printf("%s: ...%s\n", log, text.substr(text.size() - std::min<std::size_t>(text.size(), 1500)).c_str());
    }
}

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
                                   "\noutput * bg #305070 solid_color\ndefault_border none\nxwayland disable\n" +
                                   options.more + "\n");
    auto environment = pipeWire_.environment();
    environment["WLR_BACKENDS"] = "headless";
    environment["WLR_RENDERER"] = "pixman";
    environment["WLR_LIBINPUT_NO_DEVICES"] = "1";
    environment["WLR_HEADLESS_OUTPUTS"] = std::to_string(options.screens);
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

void SwayRig::startPortal(const Options& options) {
    folder_.write("portal.conf",
                  "[screencast]\nmax_fps=0\nchooser_type=simple\nchooser_cmd=echo " + options.granted + "\n");
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

std::string SwayRig::ask(const std::vector<std::string>& words) const {
    std::vector<std::string> command{"swaymsg", "-s", findIn(pipeWire_.folder().path(), "sway-ipc.", ".sock").string()};
    command.insert(command.end(), words.begin(), words.end());
    const auto log = folder_ / "swaymsg.log";
    std::error_code ignored;
    std::filesystem::remove(log, ignored);
    ChildProcess message(command, {}, log);
    if (!message.wait()) throw std::runtime_error("sway refuses: " + words.back() + ": " + readText(log));
    return readText(log);
}

void SwayRig::command(const std::string& text) {
    ask({text});
}

std::optional<Rect> SwayRig::windowRect(const std::string& title) const {
    const std::string tree = ask({"-r", "-t", "get_tree"});
    const std::size_t name = tree.find("\"name\": \"" + title + "\"");
    if (name == std::string::npos) return std::nullopt;
    // Each node tells its place before its name.
    const std::size_t place = tree.rfind("\"rect\":", name);
    Rect rect;
    if (place == std::string::npos ||
        std::sscanf(tree.c_str() + place, "\"rect\": { \"x\": %lf, \"y\": %lf, \"width\": %lf, \"height\": %lf",
                    &rect.x, &rect.y, &rect.width, &rect.height) != 4) {
        throw std::runtime_error("sway tells no place: " + tree);
    }
    return rect;
}

void SwayRig::killPortal() {
    backend_->kill();
}

void SwayRig::killCompositor() {
    compositor_->kill();
}

}  // namespace lumivastor
