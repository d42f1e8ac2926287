// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/backends/device_backend.h"

#include <cstdlib>
#include <utility>

#include "base/log.h"
#include "base/pixel_size.h"
#include "base/recorder_error.h"
#include "platform/card_sound_choice.h"
#include "platform/devices/card_sound.h"
#include "platform/devices/libav_session.h"
#include "platform/devices/microphone_session.h"
#include "platform/devices/v4l2_devices.h"
#include "platform/pipewire/pipewire_camera.h"

namespace lumivastor::platform {
namespace {

// What kind of device an id belongs to.
constexpr const char* kTestCamera = "test-camera";
constexpr const char* kTestDevice = "test-device";
constexpr const char* kPipeWire = "pipewire:";
constexpr const char* kV4l2 = "v4l2:";
constexpr const char* kMicrophone = "microphone:";

constexpr int kSampleRate = 48000;

std::optional<std::string> withoutPrefix(const std::string& text, const std::string& prefix) {
    if (text.rfind(prefix, 0) != 0) return std::nullopt;
    return text.substr(prefix.size());
}

std::string sizeText(PixelSize size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

// The graph for a size, where it leaves the size open.
std::string graphFor(const std::string& graph, std::optional<PixelSize> size) {
    constexpr PixelSize kOtherwise{640, 480};
    const std::string placeholder = "{size}";
    std::string filled = graph;
    for (auto at = filled.find(placeholder); at != std::string::npos; at = filled.find(placeholder)) {
        filled.replace(at, placeholder.size(), sizeText(size.value_or(kOtherwise)));
    }
    return filled;
}

std::unique_ptr<CaptureSession> openTestDevice(const CaptureDevice& device, const std::string& graph) {
    devices::LibavSession::Configuration configuration;
    configuration.name = device.name;
    configuration.isExternal = device.isExternal;
    configuration.needsPacing = true;
    configuration.source = [graph](std::optional<PixelSize> size) {
        return devices::LibavSource{"lavfi", graphFor(graph, size), {}};
    };
    configuration.open = std::make_unique<devices::LibavInput>(configuration.source(std::nullopt));
    configuration.activeFormat = configuration.open->size();
    configuration.hasSound = configuration.open->hasSound();
    const bool isSizeOpen = graphFor(graph, std::nullopt) != graph;
    if (isSizeOpen) {
        configuration.presets = {{1920, 1080}, {1280, 720}};
    } else if (configuration.open->hasPictures()) {
        configuration.presets = {configuration.activeFormat};
    }
    return std::make_unique<devices::LibavSession>(std::move(configuration));
}

std::unique_ptr<CaptureSession> openV4l2(const devices::V4l2Device& device, bool isExternal) {
    devices::LibavSession::Configuration configuration;
    configuration.name = device.card;
    configuration.isExternal = isExternal;
    configuration.activeFormat = device.activeFormat;
    for (const devices::V4l2Format& format : device.formats) {
        if (devices::chooseFormat(device.formats, format.size)) configuration.presets.push_back(format.size);
    }
    configuration.source = [device](std::optional<PixelSize> size) {
        devices::LibavSource source{"v4l2", device.path, {}};
        const PixelSize wanted = size.value_or(device.activeFormat);
        if (wanted.width > 0) source.options["video_size"] = sizeText(wanted);
        if (const auto format = devices::chooseFormat(device.formats, wanted)) {
            source.options["input_format"] = format->name;
            constexpr double kEnough = 30;
            if (format->framesPerSecond >= kEnough) source.options["framerate"] = "30";
        }
        return source;
    };
    return std::make_unique<devices::LibavSession>(std::move(configuration));
}

class MachineDevices final : public CaptureDevices {
  public:
    MachineDevices(std::shared_ptr<SoundSystem> sounds, DeviceAddresses addresses,
                   std::shared_ptr<const DeviceSelection> selection)
        : sounds_(std::move(sounds)), addresses_(std::move(addresses)), selection_(std::move(selection)) {}

    std::optional<CaptureDevice> defaultCamera() override {
        std::vector<CaptureDevice> all = cameras();
        return all.empty() ? std::nullopt : std::optional(std::move(all.front()));
    }

    std::vector<CaptureDevice> cameras() override {
        std::vector<CaptureDevice> found;
        if (!addresses_.testCamera.empty()) found.push_back({kTestCamera, "Testkamera"});
        const auto isCamera = [](const std::string& description) {
            return !devices::isCaptureCard(description, {}, {});
        };
        for (CaptureDevice& camera : pipewire::findPipeWireCameras(addresses_.pipeWire, isCamera)) {
            camera.id = kPipeWire + camera.id;
            found.push_back(std::move(camera));
        }
        // A camera that PipeWire has is the same one here.
        const bool hasPipeWire = found.size() > (addresses_.testCamera.empty() ? 0U : 1U);
        if (!hasPipeWire) {
            for (const devices::V4l2Device& device : devices::listV4l2Devices()) {
                if (!isExternal(device)) found.push_back(described(device, false));
            }
        }
        for (CaptureDevice& each : found) each.isDefault = &each == &found.front();
        return found;
    }

    std::optional<CaptureDevice> defaultMicrophone() override {
        auto microphone = sounds_->defaultMicrophone();
        if (microphone) microphone->id = kMicrophone + microphone->id;
        return microphone;
    }

    std::vector<CaptureDevice> externalDevices() override {
        std::vector<CaptureDevice> found;
        if (!addresses_.testDevice.empty()) found.push_back({kTestDevice, "Testgerät", true});
        for (const devices::V4l2Device& device : devices::listV4l2Devices()) {
            if (isExternal(device)) found.push_back(described(device, true));
        }
        return found;
    }

    std::unique_ptr<CaptureSession> open(const CaptureDevice& device) override {
        if (device.id == kTestCamera && !addresses_.testCamera.empty()) {
            return openTestDevice(device, addresses_.testCamera);
        }
        if (device.id == kTestDevice && !addresses_.testDevice.empty()) {
            return withSound(device, openTestDevice(device, addresses_.testDevice));
        }
        if (withoutPrefix(device.id, kMicrophone)) {
            return std::make_unique<devices::MicrophoneSession>(device.name, sounds_->microphone(kSampleRate));
        }
        if (const auto node = withoutPrefix(device.id, kPipeWire)) {
            return std::make_unique<pipewire::PipeWireCameraSession>(addresses_.pipeWire, *node, device.name);
        }
        if (const auto path = withoutPrefix(device.id, kV4l2)) {
            for (const devices::V4l2Device& one : devices::listV4l2Devices()) {
                if (one.path != *path || one.card != device.name) continue;
                auto pictures = openV4l2(one, isExternal(one));
                return isExternal(one) ? withSound(described(one, true), std::move(pictures)) : std::move(pictures);
            }
        }
        throw RecorderError("Das Gerät „" + device.name + "“ ist nicht mehr angeschlossen.");
    }

  private:
    // Paths are numbered in the order of plugging in; the bus and the name stay.
    static CaptureDevice described(const devices::V4l2Device& device, bool isExternal) {
        CaptureDevice found{kV4l2 + device.path, device.card, isExternal};
        found.place = device.place;
        found.lasting = kV4l2 + device.bus + ":" + device.card;
        return found;
    }

    // A capture card's sound is an input of the sound server.
    std::unique_ptr<CaptureSession> withSound(const CaptureDevice& card, std::unique_ptr<CaptureSession> pictures) {
        const CardSound choice = selection_->cardSound(card.lastingId());
        if (choice.isNone) return pictures;
        const auto [sound, isReplacement] = cardInput(choice, card, sounds_->microphones());
        if (isReplacement) {
            Log::write("Device", "der gewählte Toneingang für „" + card.name + "“ ist nicht angeschlossen");
        }
        if (!sound) {
            Log::write("Device", "kein Toneingang an derselben Hardware wie „" + card.name + "“");
            return pictures;
        }
        Log::write("Device", "Ton von „" + card.name + "“: „" + sound->name + "“");
        return std::make_unique<devices::CardSession>(
            card.name, std::move(pictures), sounds_->input(kSampleRate, {sound->id, true}),
            isReplacement ? "Der gewählte Toneingang ist nicht angeschlossen; der Ton kommt von „" + sound->name + "“."
                          : "");
    }

    static bool isExternal(const devices::V4l2Device& device) {
        return devices::isCaptureCard(device.card, device.driver, device.bus);
    }

    std::shared_ptr<SoundSystem> sounds_;
    DeviceAddresses addresses_;
    std::shared_ptr<const DeviceSelection> selection_;
};

std::string environment(const char* name) {
    const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): the environment does not change
    return value == nullptr ? "" : value;
}

}  // namespace

DeviceAddresses deviceAddressesFromEnvironment() {
    return {{}, environment("LUMIVASTOR_TEST_CAMERA"), environment("LUMIVASTOR_TEST_DEVICE")};
}

std::unique_ptr<CaptureDevices> openCaptureDevices(std::shared_ptr<SoundSystem> sounds, DeviceAddresses addresses,
                                                   std::shared_ptr<const DeviceSelection> selection) {
    return std::make_unique<MachineDevices>(std::move(sounds), std::move(addresses), std::move(selection));
}

}  // namespace lumivastor::platform
