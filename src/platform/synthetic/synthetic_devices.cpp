// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/synthetic/synthetic_devices.h"

#include <algorithm>
#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "platform/pictures/device_outputs.h"

namespace lumivastor::synthetic {

/// What the device and its sessions share. Samples are handed over under the lock, which is no call out: an output only
/// puts them into a queue. So nothing follows once a session has stopped.
class SyntheticDevice::State {
  public:
    struct Settings {
        platform::CaptureDevice description;
        std::vector<PixelSize> presets;
        PixelSize activeFormat{640, 480};
        bool hasVideo = true;
        bool hasAudio = false;
        std::optional<std::string> startFailure;
    };

    std::mutex lock;
    Settings settings;  // guarded by lock, as is all that follows
    std::optional<std::string> openFailure;
    std::shared_future<void> heldUntil;
    std::vector<std::thread::id> openedOn;
    std::vector<std::thread::id> stoppedOn;
    PixelSize size{640, 480};
    Session* running = nullptr;
    Session* interrupted = nullptr;
};

class SyntheticDevice::Session final : public platform::CaptureSession {
  public:
    Session(std::shared_ptr<State> state, State::Settings settings)
        : outputs(settings.description.name), state_(std::move(state)), settings_(std::move(settings)) {}
    ~Session() override { leave(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    bool canSetPreset(PixelSize size) const override {
        return std::find(settings_.presets.begin(), settings_.presets.end(), size) != settings_.presets.end();
    }

    void setPreset(PixelSize size) override {
        precondition(canSetPreset(size), "a preset that the device has");
        const std::lock_guard hold(state_->lock);
        state_->size = size;
    }

    PixelSize activeFormat() const override { return settings_.activeFormat; }

    bool addVideoOutput(SerialQueue& queue, bool discardsLate,
                        std::function<void(const platform::DeviceSample&)> handler) override {
        if (settings_.hasVideo) outputs.setVideo(queue, discardsLate, std::move(handler));
        return settings_.hasVideo;
    }

    bool addAudioOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) override {
        if (settings_.hasAudio) outputs.setAudio(queue, std::move(handler));
        return settings_.hasAudio;
    }

    void onInterruption(std::function<void(const std::string&)> handler) override { interrupted = std::move(handler); }

    void onReturn(std::function<void()> handler) override { returned = std::move(handler); }

    void startRunning() override {
        if (settings_.startFailure) {
            if (interrupted) interrupted(*settings_.startFailure);
            return;
        }
        const std::lock_guard hold(state_->lock);
        precondition(state_->running == nullptr, "one session of a synthetic device runs at a time");
        state_->running = this;
    }

    void stopRunning() override { leave(); }

    platform::DeviceOutputs outputs;
    std::function<void(const std::string&)> interrupted;
    std::function<void()> returned;

  private:
    void leave() {
        const std::lock_guard hold(state_->lock);
        if (state_->interrupted == this) state_->interrupted = nullptr;
        if (state_->running != this) return;
        state_->running = nullptr;
        state_->stoppedOn.push_back(std::this_thread::get_id());
    }

    std::shared_ptr<State> state_;
    const State::Settings settings_;
};

SyntheticDevice::SyntheticDevice(platform::CaptureDevice description) : state_(std::make_shared<State>()) {
    state_->settings.description = std::move(description);
}

SyntheticDevice::~SyntheticDevice() = default;

platform::CaptureDevice SyntheticDevice::description() const {
    const std::lock_guard hold(state_->lock);
    return state_->settings.description;
}

void SyntheticDevice::setPresets(std::vector<PixelSize> presets) {
    const std::lock_guard hold(state_->lock);
    state_->settings.presets = std::move(presets);
}

void SyntheticDevice::setActiveFormat(PixelSize size) {
    const std::lock_guard hold(state_->lock);
    state_->settings.activeFormat = size;
    state_->size = size;
}

void SyntheticDevice::setHasVideo(bool hasVideo) {
    const std::lock_guard hold(state_->lock);
    state_->settings.hasVideo = hasVideo;
}

void SyntheticDevice::setHasAudio(bool hasAudio) {
    const std::lock_guard hold(state_->lock);
    state_->settings.hasAudio = hasAudio;
}

void SyntheticDevice::failOpens(std::optional<std::string> message) {
    const std::lock_guard hold(state_->lock);
    state_->openFailure = std::move(message);
}

void SyntheticDevice::failStarts(std::optional<std::string> message) {
    const std::lock_guard hold(state_->lock);
    state_->settings.startFailure = std::move(message);
}

bool SyntheticDevice::isRunning() const {
    const std::lock_guard hold(state_->lock);
    return state_->running != nullptr;
}

PixelSize SyntheticDevice::size() const {
    const std::lock_guard hold(state_->lock);
    return state_->size;
}

bool SyntheticDevice::emitPicture(double hostSeconds, std::shared_ptr<const imaging::BgraPremultipliedBuffer> image) {
    const std::lock_guard hold(state_->lock);
    if (state_->running == nullptr) return false;
    state_->running->outputs.deliver(platform::DeviceSample{hostSeconds, std::move(image)});
    return true;
}

bool SyntheticDevice::emitPicture(double hostSeconds, std::uint8_t grey) {
    const PixelSize wanted = size();
    auto image = std::make_shared<imaging::BgraPremultipliedBuffer>(wanted.width, wanted.height);
    for (int y = 0; y < wanted.height; ++y) {
        for (int x = 0; x < wanted.width; ++x) {
            std::uint8_t* const pixel = image->pixel(x, y);
            std::fill_n(pixel, 3, grey);
            pixel[3] = 255;
        }
    }
    return emitPicture(hostSeconds, std::move(image));
}

bool SyntheticDevice::emitSound(const platform::SoundBuffer& buffer) {
    const std::lock_guard hold(state_->lock);
    if (state_->running == nullptr) return false;
    state_->running->outputs.deliver(buffer);
    return true;
}

bool SyntheticDevice::interrupt(const std::string& reason) {
    std::function<void(const std::string&)> handler;
    {
        const std::lock_guard hold(state_->lock);
        if (state_->running == nullptr) return false;
        handler = state_->running->interrupted;
        state_->interrupted = std::exchange(state_->running, nullptr);
    }
    if (handler) handler(reason);
    return true;
}

void SyntheticDevice::holdOpens(std::shared_future<void> until) {
    const std::lock_guard hold(state_->lock);
    state_->heldUntil = std::move(until);
}

std::vector<std::thread::id> SyntheticDevice::openedOn() const {
    const std::lock_guard hold(state_->lock);
    return state_->openedOn;
}

std::vector<std::thread::id> SyntheticDevice::stoppedOn() const {
    const std::lock_guard hold(state_->lock);
    return state_->stoppedOn;
}

bool SyntheticDevice::comeBack() {
    std::function<void()> handler;
    {
        const std::lock_guard hold(state_->lock);
        if (state_->interrupted == nullptr) return false;
        handler = state_->interrupted->returned;
        state_->running = std::exchange(state_->interrupted, nullptr);
    }
    if (handler) handler();
    return true;
}

std::unique_ptr<platform::CaptureSession> SyntheticDevice::open() {
    std::shared_future<void> until;
    {
        const std::lock_guard hold(state_->lock);
        state_->openedOn.push_back(std::this_thread::get_id());
        until = state_->heldUntil;
    }
    if (until.valid()) until.get();
    const std::lock_guard hold(state_->lock);
    if (state_->openFailure) throw RecorderError(*state_->openFailure);
    state_->size = state_->settings.activeFormat;
    return std::make_unique<Session>(state_, state_->settings);
}

void SyntheticCaptureDevices::setDefaultCamera(std::shared_ptr<SyntheticDevice> camera) {
    const std::lock_guard hold(lock_);
    camera_ = std::move(camera);
}

void SyntheticCaptureDevices::setDefaultMicrophone(std::shared_ptr<SyntheticDevice> microphone) {
    const std::lock_guard hold(lock_);
    microphone_ = std::move(microphone);
}

void SyntheticCaptureDevices::addExternalDevice(std::shared_ptr<SyntheticDevice> device) {
    const std::lock_guard hold(lock_);
    external_.push_back(std::move(device));
}

std::optional<platform::CaptureDevice> SyntheticCaptureDevices::defaultCamera() {
    const std::lock_guard hold(lock_);
    if (!camera_) return std::nullopt;
    return camera_->description();
}

std::optional<platform::CaptureDevice> SyntheticCaptureDevices::defaultMicrophone() {
    const std::lock_guard hold(lock_);
    if (!microphone_) return std::nullopt;
    return microphone_->description();
}

std::vector<platform::CaptureDevice> SyntheticCaptureDevices::externalDevices() {
    const std::lock_guard hold(lock_);
    std::vector<platform::CaptureDevice> found;
    for (const auto& device : external_) found.push_back(device->description());
    return found;
}

std::unique_ptr<platform::CaptureSession> SyntheticCaptureDevices::open(const platform::CaptureDevice& device) {
    std::vector<std::shared_ptr<SyntheticDevice>> all;
    {
        const std::lock_guard hold(lock_);
        all = external_;
        all.push_back(camera_);
        all.push_back(microphone_);
    }
    for (const auto& one : all) {
        if (one && one->description().id == device.id) return one->open();
    }
    throw RecorderError("Das Gerät „" + device.name + "“ ist nicht mehr angeschlossen.");
}

}  // namespace lumivastor::synthetic
