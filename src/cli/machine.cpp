#include "cli/machine.h"

#include "capture/recordings_root.h"
#include "media/encoder_choice/encoder_choice.h"
#include "platform/backends/desktop_backend.h"
#include "platform/backends/device_backend.h"
#include "platform/backends/sound_backend.h"

namespace lumivastor {

Machine::Machine(MainLoop& mainLoop) : mainLoop_(mainLoop) {}
Machine::~Machine() = default;

SoundSystem& Machine::sound() {
    if (!sound_) sound_ = openSoundSystem();
    return *sound_;
}

CaptureDevices& Machine::devices() {
    if (!devices_) {
        sound();
        devices_ = openCaptureDevices(sound_);
    }
    return *devices_;
}

Desktop& Machine::desktop() {
    if (!desktop_) {
        sound();
        desktop_ = openDesktop(sound_);
    }
    return *desktop_;
}

RecordingServices Machine::recordingServices() {
    return {devices(), sound(), mainLoop_,
            [](const EncodingJob& job) { return chooseRecordingEncoder(job, encoderMemoryFile()); }};
}

CaptureServices Machine::captureServices() {
    return {recordingServices(), desktop()};
}

}  // namespace lumivastor
