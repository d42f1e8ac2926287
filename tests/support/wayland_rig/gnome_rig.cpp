// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/wayland_rig/gnome_rig.h"

#include <signal.h>

#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "base/host_clock.h"
#include "support/await.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

constexpr const char* kSocket = "wayland-trial";
constexpr const char* kScreenCast = "org.gnome.Mutter.ScreenCast";
constexpr const char* kRemoteDesktop = "org.gnome.Mutter.RemoteDesktop";
constexpr int kLeftButton = 272;
// How long a part of the portal may take to start. Here it takes a tenth of that.
constexpr double kStartSeconds = 15;

// The dialog's title in English, and where its parts are: the first line of its list, counted from the middle of its
// upper edge, and the buttons, counted from its upper corners. As in the portal of GNOME 43.
constexpr const char* kDialog = "Screen Share";
constexpr int kFirstLineY = 176;
constexpr int kShareFromRight = 47;
constexpr int kCancelX = 45;
constexpr int kButtonY = 23;

std::string requireLibexec(const std::string& name, const std::string& package) {
    const std::string path = "/usr/libexec/" + name;
    if (!std::filesystem::exists(path)) throw std::runtime_error("missing: " + path + " (package " + package + ")");
    return path;
}

// A window of gnome-shell as an expression of its scripts.
std::string windowOf(const std::string& title) {
    return "global.get_window_actors().map(a => a.meta_window).find(w => w.get_title() == '" + title + "')";
}

void pause(double seconds) {
    await(seconds, [] { return false; });
}

}  // namespace

GnomeRig::GnomeRig(const Options& options) {
    requireProgram("gnome-shell", "gnome-shell");
    requireProgram("setsid", "util-linux");
    // gnome-shell 43 runs scripts in a child between fork and exec, when it starts an input method. Sometimes that
    // child waits for a lock forever, and gnome-shell for the child.
    constexpr int kTries = 3;
    for (int i = 1;; ++i) {
        try {
            start(options);
            return;
        } catch (const std::runtime_error&) {
            end();
            if (i == kTries) throw;
        }
    }
}

GnomeRig::~GnomeRig() {
    end();
}

void GnomeRig::start(const Options& options) {
    startShell(options);
    startPortal();
    // At first it shows its overview, and a message to those who run it as root.
    evaluate("Main.messageTray.bannerBlocked = true; Main.overview.hide(); 0");
    if (!await([this] { return evaluate("Main.overview.visible") == "false"; })) {
        throw std::runtime_error("gnome-shell stays in its overview");
    }
    startPointer();
}

void GnomeRig::end() {
    client_.reset();
    portal_.reset();
    backend_.reset();
    permissions_.reset();
    killShell();
}

void GnomeRig::killShell() {
    if (!shell_) return;
    // With the children that it has not become another program in.
    if (shell_->isRunning()) ::kill(-shell_->process(), SIGKILL);
    shell_->kill();
}

std::map<std::string, std::string> GnomeRig::environment() const {
    auto environment = pipeWire_.environment();
    const std::string folder = pipeWire_.folder().path().string();
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus_.address();
    environment["DBUS_SYSTEM_BUS_ADDRESS"] = systemBus_.address();
    environment["WAYLAND_DISPLAY"] = display();
    environment["XDG_SESSION_TYPE"] = "wayland";
    environment["XDG_CURRENT_DESKTOP"] = "GNOME";
    environment["XDG_CACHE_HOME"] = folder + "/cache";
    environment["XDG_DATA_HOME"] = folder + "/data";
    environment["PULSE_SERVER"] = pipeWire_.pulseAddress();
    environment["DISPLAY"] = "";
    environment["LC_ALL"] = "C.UTF-8";
    // Nothing of the user's settings, files and assistive programs.
    environment["GSETTINGS_BACKEND"] = "memory";
    environment["GIO_USE_VFS"] = "local";
    environment["GTK_A11Y"] = "none";
    environment["NO_AT_BRIDGE"] = "1";
    return environment;
}

std::string GnomeRig::display() const {
    return (pipeWire_.folder() / kSocket).string();
}

void GnomeRig::startShell(const Options& options) {
    auto environment = this->environment();
    environment["WAYLAND_DISPLAY"] = "";
    environment["LIBGL_ALWAYS_SOFTWARE"] = "1";
    // The unsafe mode lets other programs run scripts in it.
    shell_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"setsid", "gnome-shell", "--headless", "--wayland", "--no-x11", "--wayland-display",
                                 kSocket, "--virtual-monitor",
                                 std::to_string(options.width) + "x" + std::to_string(options.height), "--unsafe-mode"},
        environment, folder_ / "shell.log");
    client_ = std::make_unique<BusClient>(bus_.address());
    const bool isThere = await([this] {
        return !shell_->isRunning() || (client_->hasOwner(kScreenCast) && client_->hasOwner("org.gnome.Shell") &&
                                        std::filesystem::exists(display()));
    });
    if (!isThere || !shell_->isRunning()) throw std::runtime_error("no GNOME: " + readText(folder_ / "shell.log"));
}

void GnomeRig::startPortal() {
    const auto environment = this->environment();
    const auto run = [&](const std::string& program, const std::string& package, const std::string& name) {
        const auto log = folder_ / (program + ".log");
        auto process = std::make_unique<ChildProcess>(std::vector<std::string>{requireLibexec(program, package), "-r"},
                                                      environment, log);
        const bool isThere = await(kStartSeconds, [&] { return !process->isRunning() || client_->hasOwner(name); });
        if (!isThere || !process->isRunning()) throw std::runtime_error("no " + program + ": " + readText(log));
        return process;
    };
    // Keeps what the user wants to be remembered.
    permissions_ = run("xdg-permission-store", "xdg-desktop-portal", "org.freedesktop.impl.portal.PermissionStore");
    backend_ = run("xdg-desktop-portal-gnome", "xdg-desktop-portal-gnome", "org.freedesktop.impl.portal.desktop.gnome");
    portal_ = run("xdg-desktop-portal", "xdg-desktop-portal", "org.freedesktop.portal.Desktop");
}

// Input is injected into a session that also shares the screen, because positions are in a shared screen's pixels.
// Nothing takes that screen's pictures.
void GnomeRig::startPointer() {
    const auto path = [](const BusClient::Message& reply) {
        const char* text = nullptr;
        sd_bus_message_read(reply.get(), "o", &text);
        return std::string(text == nullptr ? "" : text);
    };
    const std::string root = "/org/gnome/Mutter/";
    input_ = {kRemoteDesktop,
              path(client_->call({kRemoteDesktop, root + "RemoteDesktop", kRemoteDesktop}, "CreateSession", "")),
              std::string(kRemoteDesktop) + ".Session"};
    const auto property = client_->call({kRemoteDesktop, input_.path, "org.freedesktop.DBus.Properties"}, "Get", "ss",
                                        input_.interface.c_str(), "SessionId");
    const char* id = nullptr;
    sd_bus_message_read(property.get(), "v", "s", &id);
    const std::string session = path(client_->call({kScreenCast, root + "ScreenCast", kScreenCast}, "CreateSession",
                                                   "a{sv}", 1, "remote-desktop-session-id", "s", id));
    // An empty name is the main screen.
    stream_ = path(
        client_->call({kScreenCast, session, std::string(kScreenCast) + ".Session"}, "RecordMonitor", "sa{sv}", "", 0));
    client_->call(input_, "Start", "");
}

double GnomeRig::movePointer(double x, double y) {
    const double now = hostClockSeconds();
    client_->call(input_, "NotifyPointerMotionAbsolute", "sdd", stream_.c_str(), x, y);
    return now;
}

void GnomeRig::pressButton(bool isDown) {
    client_->call(input_, "NotifyPointerButton", "ib", kLeftButton, isDown ? 1 : 0);
}

// As slowly as a hand: GTK takes nothing else.
void GnomeRig::click(double x, double y) {
    movePointer(x, y);
    pause(0.3);
    pressButton(true);
    pause(0.1);
    pressButton(false);
    pause(0.3);
}

std::string GnomeRig::evaluate(const std::string& script) {
    const auto reply =
        client_->call({"org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell"}, "Eval", "s", script.c_str());
    int isDone = 0;
    const char* result = nullptr;
    sd_bus_message_read(reply.get(), "bs", &isDone, &result);
    const std::string text = result == nullptr ? "" : result;
    if (isDone == 0) throw std::runtime_error("gnome-shell: " + script + ": " + text);
    return text;
}

bool GnomeRig::hasDialog() {
    return evaluate(windowOf(kDialog) + " != undefined") == "true";
}

void GnomeRig::answerDialog(bool shares) {
    // It grows into its place.
    std::string frame;
    const bool isThere = await([&] {
        const std::string before = frame;
        frame = hasDialog() ? dialogFrame() : "";
        pause(0.5);
        return frame == before && !frame.empty();
    });
    std::istringstream numbers(frame);
    int x = 0;
    int y = 0;
    int width = 0;
    if (!isThere || !(numbers >> x >> y >> width)) throw std::runtime_error("the portal shows no dialog");
    if (shares) {
        click(x + width / 2.0, y + kFirstLineY);
        click(x + width - kShareFromRight, y + kButtonY);
    } else {
        click(x + kCancelX, y + kButtonY);
    }
    if (!await(5, [this] { return !hasDialog(); })) throw std::runtime_error("the portal's dialog stays open");
}

// Empty while it has no size yet. Behind a window it would take no clicks, so it is brought to the front.
std::string GnomeRig::dialogFrame() {
    const std::string text = evaluate("let w = " + windowOf(kDialog) +
                                      "; Main.activateWindow(w); let r = w.get_frame_rect(); r.width == 0 ? '' : "
                                      "[r.x, r.y, r.width].join(' ')");
    return text.substr(1, text.size() - 2);  // without its quotes
}

void GnomeRig::stopSharing() {
    evaluate("Main.panel.statusArea.screenSharing._stopSharing(); 0");
}

void GnomeRig::placeWindow(const std::string& title, int x, int y, int width, int height) {
    std::ostringstream script;
    script << windowOf(title) << ".move_resize_frame(true, " << x << ", " << y << ", " << width << ", " << height
           << ")";
    evaluate(script.str());
}

void GnomeRig::closeWindow(const std::string& title) {
    evaluate(windowOf(title) + ".delete(global.get_current_time())");
}

}  // namespace lumivastor
