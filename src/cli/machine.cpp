// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/machine.h"

#include "capture/recordings_root.h"
#include "media/encoder_choice/encoder_choice.h"
#include "platform/backends/desktop_backend.h"
#include "platform/backends/device_backend.h"
#include "platform/backends/sound_backend.h"
#include "platform/selected_camera.h"
#include "platform/sound/selected_sound.h"

namespace lumivastor::cli {

Machine::Machine(MainLoop& mainLoop) : mainLoop_(mainLoop) {}
Machine::~Machine() = default;

platform::SoundSystem& Machine::sound() {
    if (!sound_) {
        sound_ = std::make_shared<platform::SelectedSound>(platform::openSoundSystem(), selection_, soundBoard_);
    }
    return *sound_;
}

platform::CaptureDevices& Machine::devices() {
    if (!devices_) {
        sound();
        devices_ = std::make_unique<platform::SelectedCamera>(
            platform::openCaptureDevices(sound_, platform::deviceAddressesFromEnvironment(), selection_), selection_);
    }
    return *devices_;
}

platform::Desktop& Machine::desktop() {
    if (!desktop_) {
        sound();
        desktop_ = platform::openDesktop(sound_);
    }
    return *desktop_;
}

capture::RecordingServices Machine::recordingServices() {
    return {devices(), sound(), mainLoop_, [](const media::EncodingJob& job) {
                return media::chooseRecordingEncoder(job, capture::encoderMemoryFile());
            }};
}

}  // namespace lumivastor::cli
