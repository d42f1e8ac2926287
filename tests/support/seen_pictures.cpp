// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/seen_pictures.h"

#include <gtest/gtest.h>

#include "base/host_clock.h"
#include "support/await.h"

namespace lumivastor {

void SeenPictures::watch(platform::CaptureSession& session, bool discardsLate) {
    EXPECT_TRUE(session.addVideoOutput(queue_, discardsLate, [this](const platform::DeviceSample& sample) {
        const imaging::BgraPremultipliedBuffer& image = *sample.image;
        const std::uint8_t* const pixel = image.pixel(image.width() / 2, image.height() / 2);
        EXPECT_EQ(pixel[3], 255);
        const std::lock_guard hold(lock_);
        pictures_.push_back({sample.hostSeconds, hostClockSeconds(), image.width(), image.height(), pixel[1]});
    }));
    hasSound_ = session.addAudioOutput(queue_, sound_.handler());
    session.onInterruption([this](const std::string& reason) {
        const std::lock_guard hold(lock_);
        interruptions_.push_back(reason);
    });
}

std::vector<SeenPictures::Seen> SeenPictures::pictures() const {
    const std::lock_guard hold(lock_);
    return pictures_;
}

std::vector<std::string> SeenPictures::interruptions() const {
    const std::lock_guard hold(lock_);
    return interruptions_;
}

bool SeenPictures::awaitPictures(std::size_t count, double timeout) const {
    return await(timeout, [&] { return pictures().size() >= count; });
}

bool SeenPictures::awaitInterruption(double timeout) const {
    return await(timeout, [&] { return !interruptions().empty(); });
}

}  // namespace lumivastor
