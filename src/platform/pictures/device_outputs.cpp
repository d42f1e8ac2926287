// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/device_outputs.h"

#include <utility>

#include "base/formatted.h"
#include "base/log.h"
#include "base/precondition.h"

namespace lumivastor::platform {

namespace {

void tellLoss(const std::string& device, std::int64_t count, const char* what) {
    if (count == 0) return;
    Log::write("Device", formatted("%s: %lld %s verworfen, weil zu viele warteten", device.c_str(),
                                   static_cast<long long>(count), what));
}

}  // namespace

DeviceOutputs::DeviceOutputs(std::string device) : device_(std::move(device)) {}

DeviceOutputs::~DeviceOutputs() {
    tellLoss(device_, video_.dropped, "Bilder");
    tellLoss(device_, audio_.dropped, "Tonstücke");
}

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
void DeviceOutputs::Output<Sample>::deliver(Sample sample) {
    if (queue == nullptr) return;
    if (shared->waiting.load() >= limit) {
        ++dropped;
        return;
    }
    ++shared->waiting;
    queue->async([to = shared, sample = std::move(sample)] {
        to->handler(sample);
        --to->waiting;
    });
}

void DeviceOutputs::deliver(DeviceSample sample) {
    video_.deliver(std::move(sample));
}

void DeviceOutputs::deliver(SoundBuffer buffer) {
    audio_.deliver(std::move(buffer));
}

}  // namespace lumivastor::platform
