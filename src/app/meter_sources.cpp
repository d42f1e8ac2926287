// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/meter_sources.h"

#include "base/handled_error.h"
#include "base/log.h"

namespace lumivastor::app {

namespace {

constexpr int kSampleRate = 48000;
constexpr int kSystemChannels = 2;

}  // namespace

MeterSources::~MeterSources() {
    run({});
    queue_.drain();
}

void MeterSources::run(Wanted wanted) {
    queue_.async([this, wanted] {
        adjust(systemAudio_, wanted.systemAudio, false);
        adjust(microphone_, wanted.microphone, true);
    });
}

void MeterSources::reopenMicrophone() {
    queue_.async([this] {
        if (!microphone_) return;
        adjust(microphone_, false, true);
        adjust(microphone_, true, true);
    });
}

void MeterSources::adjust(std::unique_ptr<platform::SoundSource>& source, bool isWanted, bool isMicrophone) {
    if (isWanted == (source != nullptr)) return;
    if (!isWanted) {
        source->stop();
        source.reset();
        return;
    }
    try {
        auto opened = isMicrophone ? sound_.microphone(kSampleRate) : sound_.systemAudio(kSampleRate, kSystemChannels);
        opened->onlyForLevels();
        opened->start([](const platform::SoundBuffer&) {}, [](const std::string&) {});
        source = std::move(opened);
    } catch (...) {
        Log::write("Capture", "Pegel: " + handledError("Unerwarteter Fehler").message());
    }
}

}  // namespace lumivastor::app
