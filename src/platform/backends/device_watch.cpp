// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/backends/device_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string_view>
#include <thread>
#include <utility>

#include "base/host_clock.h"
#include "base/recorder_error.h"
#include "base/thread_name.h"
#include "base/unique_descriptor.h"
#include "platform/pipewire/pipewire_connection.h"
#include "platform/pulse/pulse_connection.h"

namespace lumivastor::platform {
namespace {

// How long a watch waits before it looks whether it is to end.
constexpr double kSlice = 0.25;
// A server that is not there is looked for this often.
constexpr double kBetweenAttempts = 2;
constexpr double kConnectSeconds = 1;
// A device appears piece by piece: a change is reported when nothing has followed for this long, and always after the
// second of these.
constexpr double kSettle = 0.2;
constexpr double kUtmost = 1;

/// Reports changes once they are over. One thread.
class SettledChange {
  public:
    explicit SettledChange(const std::function<void()>& changed) : changed_(changed) {}

    void happened() {
        last_ = hostClockSeconds();
        if (!first_) first_ = last_;
    }
    void report() {
        const double now = hostClockSeconds();
        if (!first_ || (now < last_ + kSettle && now < *first_ + kUtmost)) return;
        first_.reset();
        changed_();
    }

  private:
    const std::function<void()>& changed_;
    std::optional<double> first_;  // of those that are not reported yet
    double last_ = 0;
};

void pause(const std::stop_token& stop, double seconds) {
    const double until = hostClockSeconds() + seconds;
    while (!stop.stop_requested() && hostClockSeconds() < until) {
        std::this_thread::sleep_for(std::chrono::duration<double>(kSlice));
    }
}

// `listen` returns, or throws `RecorderError`, when its server is gone.
void follow(const std::stop_token& stop, SettledChange& change,
            const std::function<void(const std::stop_token&, SettledChange&)>& listen) {
    while (!stop.stop_requested()) {
        const bool wasThere = [&] {
            try {
                listen(stop, change);
                return true;
            } catch (const RecorderError&) {
                return false;
            }
        }();
        if (stop.stop_requested()) return;
        if (wasThere) change.happened();
        for (int i = 0; i < 2; ++i) {
            pause(stop, kBetweenAttempts / 2);
            change.report();
        }
    }
}

void followPulse(const std::string& server, const std::stop_token& stop, SettledChange& change) {
    pulse::PulseConnection connection(server, kConnectSeconds);
    change.happened();
    connection.watchServer([&change] { change.happened(); });
    while (!stop.stop_requested() && connection.isAlive()) {
        connection.run(kSlice);
        change.report();
    }
}

void followPipeWire(const std::string& remote, const std::stop_token& stop, SettledChange& change) {
    pipewire::PipeWireConnection connection(remote, kConnectSeconds);
    change.happened();
    for (std::uint64_t seen = connection.changes(); !stop.stop_requested() && connection.isAlive();) {
        connection.run(kSlice);
        if (std::exchange(seen, connection.changes()) != seen) change.happened();
        change.report();
    }
}

// Whether one of the events is about a node of V4L2.
bool concernsVideo(const char* events, std::size_t bytes) {
    for (std::size_t at = 0; at + sizeof(inotify_event) <= bytes;) {
        const auto* const event = reinterpret_cast<const inotify_event*>(events + at);
        if (event->len > 0 && std::string_view(event->name).starts_with("video")) return true;
        at += sizeof(inotify_event) + event->len;
    }
    return false;
}

void followNodes(const std::string& folder, const std::stop_token& stop, SettledChange& change) {
    const UniqueDescriptor watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    // A node's rights come after it, as a change of its attributes.
    if (!watch.isOpen() || inotify_add_watch(watch.get(), folder.c_str(), IN_CREATE | IN_DELETE | IN_ATTRIB) < 0) {
        return;
    }
    alignas(inotify_event) std::array<char, 4096> events{};
    while (!stop.stop_requested()) {
        pollfd waiting{watch.get(), POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(kSlice * 1000));
        const ssize_t bytes = read(watch.get(), events.data(), events.size());
        if (bytes > 0 && concernsVideo(events.data(), static_cast<std::size_t>(bytes))) change.happened();
        change.report();
    }
}

class DeviceWatch {
  public:
    DeviceWatch(std::function<void()> changed, SoundServerAddresses addresses, std::string folder)
        : changed_(std::move(changed)), addresses_(std::move(addresses)), folder_(std::move(folder)) {
        pulse_ = std::jthread([this](const std::stop_token& stop) {
            nameThisThread("watch.pulse");
            SettledChange change(changed_);
            follow(stop, change,
                   [this](const std::stop_token& end, SettledChange& to) { followPulse(addresses_.pulse, end, to); });
        });
        pipeWire_ = std::jthread([this](const std::stop_token& stop) {
            nameThisThread("watch.pipewire");
            SettledChange change(changed_);
            follow(stop, change, [this](const std::stop_token& end, SettledChange& to) {
                followPipeWire(addresses_.pipeWire, end, to);
            });
        });
        nodes_ = std::jthread([this](const std::stop_token& stop) {
            nameThisThread("watch.nodes");
            SettledChange change(changed_);
            followNodes(folder_, stop, change);
        });
    }
    ~DeviceWatch() {
        for (std::jthread* each : {&pulse_, &pipeWire_, &nodes_}) each->request_stop();
    }
    DeviceWatch(const DeviceWatch&) = delete;
    DeviceWatch& operator=(const DeviceWatch&) = delete;

  private:
    const std::function<void()> changed_;
    const SoundServerAddresses addresses_;
    const std::string folder_;
    std::jthread pulse_;
    std::jthread pipeWire_;
    std::jthread nodes_;
};

}  // namespace

std::shared_ptr<void> watchDevices(std::function<void()> changed, SoundServerAddresses addresses,
                                   std::string deviceFolder) {
    return std::make_shared<DeviceWatch>(std::move(changed), std::move(addresses), std::move(deviceFolder));
}

}  // namespace lumivastor::platform
