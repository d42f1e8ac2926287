// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/device_places.h"

#include <pipewire/pipewire.h>

#include <memory>
#include <vector>

// PipeWire's calls are macros in GNU's dialect.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace lumivastor::pipewire {
namespace {

constexpr double kAnswerSeconds = 1;

/// One device, until its properties have arrived.
class AskedDevice {
  public:
    AskedDevice(pw_registry* registry, std::uint32_t id) : id_(id) {
        device_ =
            static_cast<pw_device*>(pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Device, PW_VERSION_DEVICE, 0));
        if (device_ == nullptr) return;
        static constexpr pw_device_events kEvents = [] {
            pw_device_events events{};
            events.version = PW_VERSION_DEVICE_EVENTS;
            events.info = [](void* data, const pw_device_info* info) {
                const char* const path =
                    info->props == nullptr ? nullptr : spa_dict_lookup(info->props, "device.sysfs.path");
                if (path != nullptr) static_cast<AskedDevice*>(data)->place_ = path;
            };
            return events;
        }();
        pw_device_add_listener(device_, &hook_, &kEvents, this);
    }
    ~AskedDevice() {
        if (device_ == nullptr) return;
        spa_hook_remove(&hook_);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(device_));
    }
    AskedDevice(const AskedDevice&) = delete;
    AskedDevice& operator=(const AskedDevice&) = delete;

    std::uint32_t id() const { return id_; }
    const std::string& place() const { return place_; }

  private:
    const std::uint32_t id_;
    pw_device* device_ = nullptr;
    spa_hook hook_{};
    std::string place_;
};

}  // namespace

std::map<std::uint32_t, std::string> devicePlaces(PipeWireConnection& connection,
                                                  const std::set<std::uint32_t>& devices) {
    std::map<std::uint32_t, std::string> places;
    if (devices.empty()) return places;
    std::vector<std::unique_ptr<AskedDevice>> asked;
    for (const std::uint32_t id : devices) asked.push_back(std::make_unique<AskedDevice>(connection.registry(), id));
    connection.sync(kAnswerSeconds);
    for (const auto& each : asked) {
        if (!each->place().empty()) places[each->id()] = each->place();
    }
    return places;
}

}  // namespace lumivastor::pipewire
