// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/devices/microphone_session.h"

#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"

namespace lumivastor::devices {

MicrophoneSession::MicrophoneSession(std::string name, std::unique_ptr<platform::SoundSource> source)
    : outputs_(std::move(name)), source_(std::move(source)) {}

MicrophoneSession::~MicrophoneSession() {
    stopRunning();
}

void MicrophoneSession::setPreset(PixelSize) {
    precondition(false, "a microphone has no pictures");
}

bool MicrophoneSession::addAudioOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) {
    outputs_.setAudio(queue, std::move(handler));
    return true;
}

void MicrophoneSession::onInterruption(std::function<void(const std::string&)> handler) {
    interrupted_ = std::move(handler);
}

void MicrophoneSession::onReturn(std::function<void()> handler) {
    source_->onReturn(std::move(handler));
}

void MicrophoneSession::startRunning() {
    const auto tell = [this](const std::string& reason) {
        if (interrupted_) interrupted_(reason);
    };
    try {
        source_->start([this](const platform::SoundBuffer& buffer) { outputs_.deliver(buffer); }, tell);
        isRunning_ = true;
    } catch (const RecorderError& error) {
        tell(error.message());
    }
}

void MicrophoneSession::stopRunning() {
    if (std::exchange(isRunning_, false)) source_->stop();
}

}  // namespace lumivastor::devices
