// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/sink_latency.h"

#include <pipewire/pipewire.h>
#include <spa/param/latency-utils.h>

#include <cstdint>

// PipeWire's calls are macros in GNU's dialect.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace lumivastor::pipewire {
namespace {

// A port tells frames of its node's rate without telling that rate; sound cards run at this one or close to it.
constexpr double kDefaultRate = 48000;

}  // namespace

/// Listens to one port of the sink.
class SinkLatency::Watch {
  public:
    Watch(SinkLatency& owner, pw_registry* registry, std::uint32_t port) : owner_(owner) {
        port_ = static_cast<pw_port*>(pw_registry_bind(registry, port, PW_TYPE_INTERFACE_Port, PW_VERSION_PORT, 0));
        if (port_ == nullptr) return;
        static constexpr pw_port_events kEvents = [] {
            pw_port_events events{};
            events.version = PW_VERSION_PORT_EVENTS;
            events.param = [](void* data, int, std::uint32_t id, std::uint32_t, std::uint32_t, const spa_pod* param) {
                if (id == SPA_PARAM_Latency) static_cast<Watch*>(data)->take(param);
            };
            return events;
        }();
        pw_port_add_listener(port_, &hook_, &kEvents, this);
        std::uint32_t wanted = SPA_PARAM_Latency;
        pw_port_subscribe_params(port_, &wanted, 1);
    }
    ~Watch() {
        if (port_ == nullptr) return;
        spa_hook_remove(&hook_);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(port_));
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

  private:
    void take(const spa_pod* param) {
        spa_latency_info info{};
        if (param == nullptr || spa_latency_parse(param, &info) < 0 || info.direction != SPA_DIRECTION_INPUT) return;
        owner_.cycles_ = static_cast<double>(info.min_quantum);
        owner_.constantSeconds_ =
            static_cast<double>(info.min_rate) / kDefaultRate + static_cast<double>(info.min_ns) * 1e-9;
    }

    SinkLatency& owner_;
    pw_port* port_ = nullptr;
    spa_hook hook_{};
};

SinkLatency::SinkLatency(PipeWireConnection& connection) : connection_(connection) {
    update();
}

SinkLatency::~SinkLatency() = default;

void SinkLatency::update() {
    const std::string sink = connection_.defaultName("audio.sink").value_or("");
    if (sink == sink_ && watch_) return;
    const auto node = connection_.node(sink);
    if (!node || !node->firstInputPort) return;
    sink_ = sink;
    cycles_ = 0;
    constantSeconds_ = 0;
    watch_ = std::make_unique<Watch>(*this, connection_.registry(), *node->firstInputPort);
}

}  // namespace lumivastor::pipewire
