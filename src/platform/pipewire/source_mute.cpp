// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/source_mute.h"

#include <pipewire/pipewire.h>
#include <spa/param/props.h>
#include <spa/pod/iter.h>

#include <algorithm>
#include <array>

// PipeWire's calls are macros in GNU's dialect.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace lumivastor::pipewire {
namespace {

constexpr std::uint32_t kMostChannels = 64;

bool isSilenced(const spa_pod& volumes) {
    std::array<float, kMostChannels> channels{};
    const std::uint32_t count = spa_pod_copy_array(&volumes, SPA_TYPE_Float, channels.data(), kMostChannels);
    return count > 0 && std::all_of(channels.begin(), channels.begin() + count, [](float one) { return one <= 0; });
}

}  // namespace

class SourceMute::Watch {
  public:
    Watch(SourceMute& owner, pw_registry* registry, std::uint32_t node) : owner_(owner) {
        node_ = static_cast<pw_node*>(pw_registry_bind(registry, node, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
        if (node_ == nullptr) return;
        static constexpr pw_node_events kEvents = [] {
            pw_node_events events{};
            events.version = PW_VERSION_NODE_EVENTS;
            events.param = [](void* data, int, std::uint32_t id, std::uint32_t, std::uint32_t, const spa_pod* param) {
                if (id == SPA_PARAM_Props) static_cast<Watch*>(data)->take(param);
            };
            return events;
        }();
        pw_node_add_listener(node_, &hook_, &kEvents, this);
        std::uint32_t wanted = SPA_PARAM_Props;
        pw_node_subscribe_params(node_, &wanted, 1);
    }
    ~Watch() {
        if (node_ == nullptr) return;
        spa_hook_remove(&hook_);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(node_));
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

  private:
    void take(const spa_pod* param) {
        if (param == nullptr || spa_pod_is_object(param) == 0) return;
        // A node tells its properties in several objects; only one has these.
        const spa_pod_prop* const mute = spa_pod_find_prop(param, nullptr, SPA_PROP_mute);
        const spa_pod_prop* const volumes = spa_pod_find_prop(param, nullptr, SPA_PROP_channelVolumes);
        if (mute == nullptr && volumes == nullptr) return;
        bool isOff = false;
        if (mute != nullptr) spa_pod_get_bool(&mute->value, &isOff);
        owner_.isMuted_ = isOff || (volumes != nullptr && isSilenced(volumes->value));
    }

    SourceMute& owner_;
    pw_node* node_ = nullptr;
    spa_hook hook_{};
};

SourceMute::SourceMute(PipeWireConnection& connection) : connection_(connection) {}

SourceMute::~SourceMute() = default;

void SourceMute::watch(std::uint32_t node) {
    if (watch_ && node == node_) return;
    node_ = node;
    isMuted_ = false;
    watch_ = std::make_unique<Watch>(*this, connection_.registry(), node);
}

}  // namespace lumivastor::pipewire
