// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/sound_rig.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "base/unique_descriptor.h"
#include "support/await.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

bool answers(const std::filesystem::path& socketPath) {
    const UniqueDescriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = socketPath.string();
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error("too long for a socket: " + path);
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    return connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void awaitSocket(ChildProcess& server, const std::filesystem::path& socketPath, const std::filesystem::path& log) {
    bool isThere = false;
    await([&] {
        isThere = answers(socketPath);
        return isThere || !server.isRunning();
    });
    if (!isThere) throw std::runtime_error("no server at " + socketPath.string() + ": " + readText(log));
}

}  // namespace

PulseRig::PulseRig() {
    requireProgram("pulseaudio", "pulseaudio");
    // The socket is created last, so a client that can connect finds everything in place.
    folder_.write("server.pa",
                  "load-module module-null-sink sink_name=sysout rate=48000\n"
                  "load-module module-null-sink sink_name=headset rate=48000\n"
                  "load-module module-null-sink sink_name=micfeed rate=48000\n"
                  "load-module module-remap-source master=micfeed.monitor source_name=testmic channels=1 "
                  "source_properties=device.description=Testmikrofon\n"
                  "set-default-sink sysout\n"
                  "set-default-source testmic\n"
                  "load-module module-native-protocol-unix auth-anonymous=1 socket=" +
                      (folder_ / "native").string() + "\n");
    start();
}

std::string PulseRig::address() const {
    return "unix:" + (folder_ / "native").string();
}

void PulseRig::start() {
    std::error_code ignored;
    std::filesystem::remove(folder_ / "native", ignored);
    const std::string folder = folder_.path().string();
    server_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"pulseaudio", "-n", "-F", (folder_ / "server.pa").string(), "--daemonize=no",
                                 "--exit-idle-time=-1", "--use-pid-file=no", "--disable-shm=yes", "--high-priority=no",
                                 "--realtime=no"},
        std::map<std::string, std::string>{{"XDG_RUNTIME_DIR", folder},
                                           {"PULSE_RUNTIME_PATH", folder},
                                           {"HOME", folder},
                                           {"XDG_CONFIG_HOME", folder},
                                           {"DBUS_SESSION_BUS_ADDRESS", "disabled:"}},
        folder_ / "server.log");
    awaitSocket(*server_, folder_ / "native", folder_ / "server.log");
}

void PulseRig::kill() {
    server_->kill();
}

void PulseRig::freeze(bool isFrozen) {
    server_->signal(isFrozen ? SIGSTOP : SIGCONT);
}

std::string PulseRig::askServer(const std::vector<std::string>& question) {
    return askSoundServer(address(), question);
}

void PulseRig::setDefaultSink(const std::string& name) {
    askServer({"set-default-sink", name});
}

double PulseRig::blockLength() {
    const std::string sinks = askServer({"list", "sinks"});
    const std::string before = "configured ";
    const std::size_t found = sinks.find(before, sinks.find("Name: sysout"));
    if (found == std::string::npos) throw std::runtime_error("no latency in: " + sinks);
    return std::stod(sinks.substr(found + before.size())) * 1e-6;
}

bool PulseRig::isPlaying() {
    return askServer({"list", "sink-inputs"}).find("Corked: no") != std::string::npos;
}

PipeWireRig::PipeWireRig() {
    requireProgram("pipewire", "pipewire-bin");
    requireProgram("pw-metadata", "pipewire-bin");
    requireProgram("wireplumber", "wireplumber");
    requireProgram("pipewire-pulse", "pipewire-pulse");
    const std::string sink =
        "{ factory = adapter args = { factory.name = support.null-audio-sink media.class = Audio/Sink "
        "audio.position = [ FL FR ] object.linger = true node.name = ";
    folder_.write("pipewire/pipewire.conf.d/rig.conf",
                  "context.objects = [\n" + sink + "sysout priority.session = 2000 } }\n" + sink +
                      "headset priority.session = 200 } }\n" + sink +
                      "micfeed priority.session = 100 } }\n]\n"
                      "context.modules = [ { name = libpipewire-module-loopback args = {\n"
                      "  capture.props = { node.name = testmic.in stream.capture.sink = true target.object = micfeed "
                      "audio.position = [ MONO ] }\n"
                      "  playback.props = { node.name = testmic node.description = Testmikrofon media.class = "
                      "Audio/Source audio.position = [ MONO ] priority.session = 3000 }\n} } ]\n");
    // Neither the machine's devices nor its message bus are this rig's business.
    folder_.write("wireplumber/main.lua.d/51-rig.lua",
                  "default_access.properties[\"enable-flatpak-portal\"] = false\nalsa_monitor.enabled = false\n"
                  "v4l2_monitor.enabled = false\nlibcamera_monitor.enabled = false\n");
    folder_.write("wireplumber/bluetooth.lua.d/51-rig.lua", "bluez_monitor.enabled = false\n");
    start();
}

std::string PipeWireRig::remote() const {
    return (folder_ / "pipewire-0").string();
}

std::string PipeWireRig::pulseAddress() const {
    return "unix:" + (folder_ / "pulse/native").string();
}

std::map<std::string, std::string> PipeWireRig::environment() const {
    const std::string folder = folder_.path().string();
    return {{"XDG_RUNTIME_DIR", folder},
            {"PIPEWIRE_RUNTIME_DIR", folder},
            {"PULSE_RUNTIME_PATH", (folder_ / "pulse").string()},
            {"HOME", folder},
            {"XDG_CONFIG_HOME", folder},
            {"XDG_STATE_HOME", (folder_ / "state").string()},
            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder_ / "no-bus").string()}};
}

void PipeWireRig::start() {
    for (const char* socketName : {"pipewire-0", "pulse/native"}) {
        std::error_code ignored;
        std::filesystem::remove(folder_ / socketName, ignored);
    }
    const auto log = folder_ / "server.log";
    server_ = std::make_unique<ChildProcess>(std::vector<std::string>{"pipewire"}, environment(), log);
    awaitSocket(*server_, folder_ / "pipewire-0", log);
    manager_ = std::make_unique<ChildProcess>(std::vector<std::string>{"wireplumber"}, environment(), log);
    pulse_ = std::make_unique<ChildProcess>(std::vector<std::string>{"pipewire-pulse"}, environment(), log);
    awaitSocket(*pulse_, folder_ / "pulse/native", log);
    // The session manager has chosen the default devices when it has seen them all.
    const bool hasChosen = await([this] {
        const std::string known = metadata();
        return known.find("sysout") != std::string::npos && known.find("testmic") != std::string::npos;
    });
    if (!hasChosen) throw std::runtime_error("no default devices: " + readText(log));
}

std::string PipeWireRig::metadata() {
    const auto log = folder_ / "metadata.log";
    std::error_code ignored;
    std::filesystem::remove(log, ignored);
    ChildProcess({"pw-metadata", "0"}, environment(), log).wait();
    return readText(log);
}

void PipeWireRig::setDefaultSink(const std::string& name) {
    const auto log = folder_ / "pw-metadata.log";
    ChildProcess metadata(
        {"pw-metadata", "0", "default.configured.audio.sink", "{ \"name\": \"" + name + "\" }", "Spa:String:JSON"},
        environment(), log);
    if (!metadata.wait()) throw std::runtime_error("no default sink " + name + ": " + readText(log));
}

void PipeWireRig::killSessionManager() {
    manager_->kill();
}

void PipeWireRig::kill() {
    for (ChildProcess* one : {pulse_.get(), manager_.get(), server_.get()}) one->kill();
}

std::string askSoundServer(const std::string& address, const std::vector<std::string>& question) {
    requireProgram("pactl", "pulseaudio-utils");
    const TemporaryFolder folder;
    const auto log = folder / "pactl.log";
    std::vector<std::string> command{"pactl"};
    command.insert(command.end(), question.begin(), question.end());
    ChildProcess pactl(command, {{"PULSE_SERVER", address}, {"LC_ALL", "C"}}, log);
    if (!pactl.wait()) throw std::runtime_error("pactl " + question.front() + ": " + readText(log));
    return readText(log);
}

PluggedMicrophone::PluggedMicrophone(std::string address) : address_(std::move(address)) {}

void PluggedMicrophone::plugIn() {
    const auto number = [](std::string answer) {
        while (!answer.empty() && answer.back() == '\n') answer.pop_back();
        return answer;
    };
    if (sink_.empty())
        sink_ = number(askSoundServer(address_, {"load-module", "module-null-sink", "sink_name=usbfeed"}));
    source_ = number(
        askSoundServer(address_, {"load-module", "module-remap-source", "master=usbfeed.monitor", "source_name=usbmic",
                                  "channels=1", "source_properties=device.description=Funkmikrofon"}));
}

void PluggedMicrophone::plugOut() {
    askSoundServer(address_, {"unload-module", source_});
}

std::string nobodysAddress(const TemporaryFolder& folder) {
    return "unix:" + (folder / "nobody").string();
}

}  // namespace lumivastor
