// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pulse/pulse_connection.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <utility>

#include "base/host_clock.h"
#include "base/recorder_error.h"

namespace lumivastor::pulse {
namespace {

constexpr const char* kSilent = "Der Tonserver antwortet nicht.";
// A server answers within milliseconds; one whose process is stopped never does.
constexpr double kAnswerSeconds = 2;

PulseConnection::Source described(const pa_source_info& info) {
    PulseConnection::Source source;
    source.name = info.name;
    source.description = info.description == nullptr ? info.name : info.description;
    source.channels = info.sample_spec.channels;
    source.isMonitor = info.monitor_of_sink != PA_INVALID_INDEX;
    source.isMuted = info.mute != 0 || pa_cvolume_is_muted(&info.volume) != 0;
    // The first is relative to /sys; the second is PipeWire's, and is not.
    for (const char* const key : {"sysfs.path", "device.sysfs.path"}) {
        const char* const path = pa_proplist_gets(info.proplist, key);
        if (path == nullptr || !source.place.empty()) continue;
        source.place = std::string(path).starts_with("/sys/") ? path : std::string("/sys") + path;
    }
    return source;
}

}  // namespace

void PulseConnection::LoopDelete::operator()(pa_mainloop* loop) const {
    pa_mainloop_free(loop);
}

PulseConnection::PulseConnection(const std::string& server, double timeout) : loop_(pa_mainloop_new()) {
    context_ = makeContext(pa_mainloop_get_api(loop_.get()));
    if (!connectContext(context_.get(), server)) throw RecorderError("Kein Tonserver gefunden.");
    const bool done = runUntil([this] { return pa_context_get_state(context_.get()) == PA_CONTEXT_READY; }, timeout);
    if (done) return;
    throw RecorderError(isAlive() ? kSilent : "Kein Tonserver gefunden.");
}

PulseConnection::~PulseConnection() = default;

bool PulseConnection::isAlive() const {
    return PA_CONTEXT_IS_GOOD(pa_context_get_state(context_.get())) != 0;
}

void PulseConnection::run(double seconds) {
    const auto microseconds = static_cast<int>(std::clamp(seconds, 0.0, 1.0) * 1e6);
    if (pa_mainloop_prepare(loop_.get(), microseconds) < 0) return;
    if (pa_mainloop_poll(loop_.get()) < 0) return;
    pa_mainloop_dispatch(loop_.get());
}

bool PulseConnection::runUntil(const std::function<bool()>& done, double timeout) {
    const double until = hostClockSeconds() + timeout;
    while (!done()) {
        const double left = until - hostClockSeconds();
        if (left <= 0 || !isAlive()) return false;
        run(left);
    }
    return true;
}

void PulseConnection::await(pa_operation* started) {
    // Cancelled when it is late: its callback writes to the caller's variables.
    const OperationHandle operation(started);
    const auto isDone = [&] { return pa_operation_get_state(operation.get()) != PA_OPERATION_RUNNING; };
    if (!operation || !runUntil(isDone, kAnswerSeconds)) throw RecorderError(kSilent);
}

PulseConnection::Server PulseConnection::server() {
    Server found;
    const auto take = [](pa_context*, const pa_server_info* info, void* data) {
        if (info == nullptr) return;
        const auto text = [](const char* one) { return std::string(one == nullptr ? "" : one); };
        auto& server = *static_cast<Server*>(data);
        server.name = text(info->server_name);
        server.version = text(info->server_version);
        server.defaultSink = text(info->default_sink_name);
        server.defaultSource = text(info->default_source_name);
        server.isPipeWire = server.name.find("PipeWire") != std::string::npos;
    };
    await(pa_context_get_server_info(context_.get(), take, &found));
    return found;
}

std::optional<PulseConnection::Source> PulseConnection::source(const std::string& name) {
    std::optional<Source> found;
    const auto take = [](pa_context*, const pa_source_info* info, int end, void* data) {
        if (info == nullptr || end != 0) return;
        *static_cast<std::optional<Source>*>(data) = described(*info);
    };
    await(pa_context_get_source_info_by_name(context_.get(), name.c_str(), take, &found));
    return found;
}

std::vector<PulseConnection::Source> PulseConnection::sources() {
    std::vector<Source> found;
    const auto take = [](pa_context*, const pa_source_info* info, int end, void* data) {
        if (info == nullptr || end != 0) return;
        static_cast<std::vector<Source>*>(data)->push_back(described(*info));
    };
    await(pa_context_get_source_info_list(context_.get(), take, &found));
    return found;
}

std::optional<std::string> PulseConnection::monitor(const std::string& sink) {
    std::optional<std::string> found;
    const auto take = [](pa_context*, const pa_sink_info* info, int end, void* data) {
        if (info == nullptr || end != 0 || info->monitor_source_name == nullptr) return;
        *static_cast<std::optional<std::string>*>(data) = info->monitor_source_name;
    };
    await(pa_context_get_sink_info_by_name(context_.get(), sink.c_str(), take, &found));
    return found;
}

void PulseConnection::watchServer(std::function<void()> changed) {
    serverChanged_ = std::move(changed);
    const auto tell = [](pa_context*, pa_subscription_event_type_t, uint32_t, void* data) {
        static_cast<PulseConnection*>(data)->serverChanged_();
    };
    pa_context_set_subscribe_callback(context_.get(), tell, this);
    const auto ignore = [](pa_context*, int, void*) {};
    const auto kinds = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SOURCE);
    await(pa_context_subscribe(context_.get(), kinds, ignore, nullptr));
}

}  // namespace lumivastor::pulse
