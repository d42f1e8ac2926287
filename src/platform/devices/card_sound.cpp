// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/devices/card_sound.h"

#include <utility>

#include "base/recorder_error.h"

namespace lumivastor::devices {

CardSession::CardSession(std::string name, std::unique_ptr<platform::CaptureSession> pictures,
                         std::unique_ptr<platform::SoundSource> sound, std::string remark)
    : name_(std::move(name)), remark_(std::move(remark)), pictures_(std::move(pictures)), sound_(std::move(sound)) {}

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
    if (!remark_.empty()) say(remark_);
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
