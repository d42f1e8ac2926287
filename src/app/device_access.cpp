// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/device_access.h"

#include <utility>

#include "base/handled_error.h"
#include "base/log.h"

namespace lumivastor::app {

namespace {

Access microphoneAccess(platform::SoundSystem& sound) {
    constexpr int kSampleRate = 48000;
    if (!sound.defaultMicrophone()) return Access::missing;
    const auto source = sound.microphone(kSampleRate);
    source->start([](const platform::SoundBuffer&) {}, [](const std::string&) {});
    source->stop();
    return Access::granted;
}

Access cameraAccess(platform::CaptureDevices& devices) {
    const auto camera = devices.defaultCamera();
    if (!camera) return Access::missing;
    devices.open(*camera);
    return Access::granted;
}

}  // namespace

DeviceAccess::DeviceAccess(const capture::RecordingServices& services) : services_(services) {}

DeviceAccess::~DeviceAccess() = default;

void DeviceAccess::requestMicrophone(Completion completion) {
    request(
        "Mikrofon", [this] { return microphoneAccess(services_.sound); }, std::move(completion));
}

void DeviceAccess::requestCamera(Completion completion) {
    request(
        "Kamera", [this] { return cameraAccess(services_.devices); }, std::move(completion));
}

void DeviceAccess::requestDevice(const platform::CaptureDevice& device, Completion completion) {
    request(
        device.name,
        [this, device] {
            services_.devices.open(device);
            return Access::granted;
        },
        std::move(completion));
}

void DeviceAccess::request(std::string what, std::function<Access()> ask, Completion completion) {
    queue_.async([this, what = std::move(what), ask = std::move(ask), completion = std::move(completion)] {
        Access access = Access::refused;
        try {
            access = ask();
            if (access == Access::missing) Log::write("Permissions", what + ": nicht gefunden");
        } catch (...) {
            Log::write("Permissions", what + ": " + handledError("Unerwarteter Fehler").message());
        }
        services_.mainLoop.async([alive = lifetime_.watch(), completion, access] {
            if (!alive.expired()) completion(access);
        });
    });
}

}  // namespace lumivastor::app
