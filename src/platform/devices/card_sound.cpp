// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/devices/card_sound.h"

#include <regex>
#include <utility>

#include "base/recorder_error.h"

namespace lumivastor::devices {

std::string hardwareOf(const std::string& place) {
    // The last of each kind: hubs lie above a USB device, bridges above a PCI card. "1-2.4" is a device, "1-2.4:1.0"
    // one of its interfaces.
    static const std::regex usb("^(.*/[0-9]+-[0-9]+(?:\\.[0-9]+)*)(?:/.*)?$");
    static const std::regex pci("^(.*/[0-9a-f]{4}:[0-9a-f]{2}:[0-9a-f]{2})\\.[0-7](?:/.*)?$");
    std::smatch found;
    if (std::regex_match(place, found, usb) || std::regex_match(place, found, pci)) return found[1];
    return {};
}

std::optional<platform::CaptureDevice> soundOf(const std::string& cardPlace,
                                               const std::vector<platform::CaptureDevice>& inputs) {
    const std::string hardware = hardwareOf(cardPlace);
    if (hardware.empty()) return std::nullopt;
    for (const platform::CaptureDevice& each : inputs) {
        if (hardwareOf(each.place) == hardware) return each;
    }
    return std::nullopt;
}

CardSession::CardSession(std::string name, std::unique_ptr<platform::CaptureSession> pictures,
                         std::unique_ptr<platform::SoundSource> sound)
    : name_(std::move(name)), pictures_(std::move(pictures)), sound_(std::move(sound)) {}

CardSession::~CardSession() {
    stopRunning();
}

bool CardSession::addVideoOutput(SerialQueue& queue, bool discardsLate,
                                 std::function<void(const platform::DeviceSample&)> handler) {
    return pictures_->addVideoOutput(queue, discardsLate, std::move(handler));
}

bool CardSession::addAudioOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) {
    outputs_.setAudio(queue, std::move(handler));
    return true;
}

void CardSession::onInterruption(std::function<void(const std::string&)> handler) {
    pictures_->onInterruption(std::move(handler));
}

void CardSession::say(const std::string& sentence) const {
    if (notice_) notice_(sentence);
}

void CardSession::startRunning() {
    pictures_->startRunning();
    if (!outputs_.hasAudio()) return;
    sound_->onReturn([this] { say("Der Ton von „" + name_ + "“ ist wieder da."); });
    const auto ended = [this](const std::string& reason) {
        say("Der Ton von „" + name_ + "“ ist ausgefallen: " + reason);
    };
    try {
        sound_->start([this](const platform::SoundBuffer& sound) { outputs_.deliver(sound); }, ended);
        hears_ = true;
    } catch (const RecorderError& error) {
        ended(error.message());
    }
}

void CardSession::stopRunning() {
    pictures_->stopRunning();
    if (std::exchange(hears_, false)) sound_->stop();
}

}  // namespace lumivastor::devices
