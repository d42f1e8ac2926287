// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/heard_sound.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <numeric>

#include "base/formatted.h"
#include "base/recorder_error.h"
#include "support/await.h"
#include "support/beeper.h"

namespace lumivastor {

platform::SoundSource::Handler HeardSound::handler() {
    return [this](const platform::SoundBuffer& buffer) {
        const std::lock_guard hold(lock_);
        buffers_.push_back(buffer);
    };
}

platform::SoundSource::EndHandler HeardSound::endHandler() {
    return [this](const std::string& reason) {
        const std::lock_guard hold(lock_);
        ends_.push_back(reason);
    };
}

std::vector<double> HeardSound::beeps() const {
    const std::lock_guard hold(lock_);
    // A beep jumps to half of full scale at once; what resampling and a mix to one channel leave of it is above this.
    constexpr float kLoud = 0.2F;
    std::vector<double> found;
    double lastLoud = -1;
    for (const platform::SoundBuffer& buffer : buffers_) {
        for (std::size_t frame = 0; frame < buffer.frames(); ++frame) {
            if (std::abs(buffer.values[frame * static_cast<std::size_t>(buffer.channels)]) < kLoud) continue;
            const double seconds = buffer.hostSeconds + static_cast<double>(frame) / buffer.sampleRate;
            if (lastLoud < 0 || seconds > lastLoud + Beeper::kBetweenBeeps / 4) found.push_back(seconds);
            lastLoud = seconds;
        }
    }
    return found;
}

std::vector<std::string> HeardSound::ends() const {
    const std::lock_guard hold(lock_);
    return ends_;
}

std::vector<platform::SoundBuffer> HeardSound::buffers() const {
    const std::lock_guard hold(lock_);
    return buffers_;
}

std::size_t HeardSound::frames() const {
    const std::lock_guard hold(lock_);
    return std::accumulate(buffers_.begin(), buffers_.end(), std::size_t{0},
                           [](std::size_t sum, const platform::SoundBuffer& buffer) { return sum + buffer.frames(); });
}

int HeardSound::jumps() const {
    const std::lock_guard hold(lock_);
    int count = 0;
    for (std::size_t i = 1; i < buffers_.size(); ++i) {
        const platform::SoundBuffer& before = buffers_[i - 1];
        const double frame = 1.0 / before.sampleRate;
        const double end = before.hostSeconds + static_cast<double>(before.frames()) * frame;
        if (std::abs(buffers_[i].hostSeconds - end) > frame) ++count;
    }
    return count;
}

bool HeardSound::ranBackward() const {
    const std::lock_guard hold(lock_);
    for (std::size_t i = 1; i < buffers_.size(); ++i) {
        const platform::SoundBuffer& before = buffers_[i - 1];
        const double end = before.hostSeconds + static_cast<double>(before.frames()) / before.sampleRate;
        if (buffers_[i].hostSeconds < end - 1e-6) return true;
    }
    return false;
}

void HeardSound::clear() {
    const std::lock_guard hold(lock_);
    buffers_.clear();
    ends_.clear();
}

bool HeardSound::awaitBeeps(std::size_t count, double timeout) const {
    return await(timeout, [&] { return beeps().size() >= count; });
}

bool HeardSound::awaitFrames(std::size_t count, double timeout) const {
    return await(timeout, [&] { return frames() >= count; });
}

bool HeardSound::awaitEnd(double timeout) const {
    return await(timeout, [&] { return !ends().empty(); });
}

std::vector<double> beepErrors(const std::vector<double>& heard, const std::vector<double>& played) {
    std::vector<double> errors;
    if (played.empty()) return errors;
    const double margin = Beeper::kBetweenBeeps / 2;
    for (const double one : heard) {
        if (one < played.front() - margin || one > played.back() + margin) continue;
        const auto nearest = std::min_element(
            played.begin(), played.end(), [one](double a, double b) { return std::abs(a - one) < std::abs(b - one); });
        errors.push_back(one - *nearest);
    }
    return errors;
}

std::string describeErrors(const std::vector<double>& errors) {
    if (errors.empty()) return "no beeps";
    const auto [least, most] = std::minmax_element(errors.begin(), errors.end());
    const double mean = std::accumulate(errors.begin(), errors.end(), 0.0) / static_cast<double>(errors.size());
    return formatted("%d beeps, %.2f ... %.2f ms late, %.2f ms on average", static_cast<int>(errors.size()),
                     *least * 1000, *most * 1000, mean * 1000);
}

bool areInPlace(const std::vector<double>& errors) {
    // A busy machine makes single beeps late before they are heard; a wrong clock makes them all.
    std::vector<double> distances;
    for (const double error : errors) distances.push_back(std::abs(error));
    std::sort(distances.begin(), distances.end());
    return !distances.empty() && distances[distances.size() / 2] < kInPlace;
}

void expectInPlace(const HeardSound& heard, const std::vector<double>& played, const char* what) {
    const auto errors = beepErrors(heard.beeps(), played);
    std::cout << what << ": " << describeErrors(errors) << "\n";
    EXPECT_TRUE(areInPlace(errors)) << describeErrors(errors);
    EXPECT_FALSE(heard.ranBackward());
}

std::string startFailure(platform::SoundSource& source) {
    try {
        source.start([](const platform::SoundBuffer&) {}, [](const std::string&) {});
    } catch (const RecorderError& error) {
        return error.message();
    }
    return "(it started)";
}

}  // namespace lumivastor
