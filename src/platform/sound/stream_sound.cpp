// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/stream_sound.h"

#include <utility>

namespace lumivastor::platform {

StreamSound::StreamSound(std::shared_ptr<SoundSystem> system, const StreamConfiguration& configuration)
    : system_(std::move(system)), configuration_(configuration) {}

StreamSound::~StreamSound() {
    stop();
}

void StreamSound::addSystemAudioOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) {
    systemAudio_.queue = &queue;
    systemAudio_.handler = std::move(handler);
}

void StreamSound::addMicrophoneOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) {
    microphone_.queue = &queue;
    microphone_.handler = std::move(handler);
}

void StreamSound::onNotice(std::function<void(const std::string&)> handler) {
    notice_ = std::move(handler);
}

void StreamSound::start() {
    const bool wantsSystem = configuration_.capturesAudio && systemAudio_.queue != nullptr;
    const bool wantsMicrophone = configuration_.captureMicrophone && microphone_.queue != nullptr;
    if (!wantsSystem && !wantsMicrophone) return;
    if (!system_) throw RecorderError("Es gibt hier keinen Tonserver, von dem Ton aufgenommen werden könnte.");
    try {
        if (wantsSystem) {
            startSource(systemAudio_, system_->systemAudio(configuration_.sampleRate, configuration_.channelCount),
                        "Systemton");
        }
        if (wantsMicrophone) startSource(microphone_, system_->microphone(configuration_.sampleRate), "Mikrofonton");
    } catch (...) {
        stop();
        throw;
    }
}

void StreamSound::startSource(Output& output, std::unique_ptr<SoundSource> source, const std::string& name) {
    output.delivery = std::make_unique<SoundDelivery>(*output.queue, output.handler, [notice = notice_, name] {
        if (notice) notice("Der " + name + " kommt schneller, als er sich speichern lässt; ein Stück davon fehlt.");
    });
    source->onReturn([notice = notice_, name] {
        if (notice) notice("Der " + name + " ist wieder da.");
    });
    source->start([delivery = output.delivery.get()](const SoundBuffer& sound) { delivery->push(sound); },
                  [notice = notice_, name](const std::string& reason) {
                      if (notice) notice("Der " + name + " ist ausgefallen: " + reason);
                  });
    // Only a source that runs is kept, and stopped later.
    output.source = std::move(source);
}

void StreamSound::stop() {
    for (Output* output : {&systemAudio_, &microphone_}) {
        if (output->source) output->source->stop();
        output->source.reset();
    }
}

}  // namespace lumivastor::platform
