#include "platform/device_outputs.h"

#include <utility>

#include "base/precondition.h"

namespace lumivastor {

void DeviceOutputs::setVideo(SerialQueue& queue, bool discardsLate, PictureHandler handler) {
    precondition(!hasVideo(), "one output for pictures");
    video_.limit = discardsLate ? kWaitingPicturesWhenDiscarding : kWaitingPictures;
    video_.shared = std::make_shared<Output<DeviceSample>::Shared>();
    video_.shared->handler = std::move(handler);
    video_.queue = &queue;
}

void DeviceOutputs::setAudio(SerialQueue& queue, SoundHandler handler) {
    precondition(!hasAudio(), "one output for sound");
    audio_.limit = kWaitingSounds;
    audio_.shared = std::make_shared<Output<SoundBuffer>::Shared>();
    audio_.shared->handler = std::move(handler);
    audio_.queue = &queue;
}

template <typename Sample>
bool DeviceOutputs::Output<Sample>::deliver(Sample sample) {
    if (queue == nullptr) return true;
    if (shared->waiting.load() >= limit) return false;
    ++shared->waiting;
    queue->async([to = shared, sample = std::move(sample)] {
        to->handler(sample);
        --to->waiting;
    });
    return true;
}

void DeviceOutputs::deliver(DeviceSample sample) {
    if (!video_.deliver(std::move(sample))) ++dropped_;
}

void DeviceOutputs::deliver(SoundBuffer buffer) {
    if (!audio_.deliver(std::move(buffer))) ++dropped_;
}

}  // namespace lumivastor
