// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/loudness/loudness_meter.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>

#include "base/precondition.h"
#include "base/recorder_error.h"

namespace lumivastor::media {

namespace {

// The library's own loudness of silence, and its absolute gate.
constexpr double kGate = -70;

ebur128_state* newState(const PcmFormat& format, LoudnessMeter::Figures figures) {
    precondition(format.channels == 1 || format.channels == 2, "mono or stereo");
    precondition(format.sampleRate >= 1000, "a sample rate");
    const int all = EBUR128_MODE_I | EBUR128_MODE_LRA;
    const int mode = figures == LoudnessMeter::Figures::all ? all : EBUR128_MODE_I;
    ebur128_state* const state =
        ebur128_init(static_cast<unsigned>(format.channels), static_cast<unsigned long>(format.sampleRate), mode);
    if (state == nullptr) throw RecorderError("Zu wenig Arbeitsspeicher, um die Lautheit zu messen.");
    // A film plays a mono track on both sides.
    if (format.channels == 1) ebur128_set_channel(state, 0, EBUR128_DUAL_MONO);
    return state;
}

}  // namespace

struct LoudnessMeter::Library {
    explicit Library(ebur128_state* made) : state(made) {}
    ~Library() { ebur128_destroy(&state); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    ebur128_state* state;
};

LoudnessMeter::LoudnessMeter(const PcmFormat& format, Figures figures)
    : format_(format),
      figures_(figures),
      library_(std::make_unique<Library>(newState(format, figures))),
      peaks_(static_cast<std::size_t>(format.channels)) {}

LoudnessMeter::~LoudnessMeter() = default;

void LoudnessMeter::add(std::span<const float> values) {
    const auto channels = static_cast<std::size_t>(format_.channels);
    precondition(values.size() % channels == 0, "whole frames");
    // A value that is no number would spoil all that follow.
    if (!std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); })) return;
    if (ebur128_add_frames_float(library_->state, values.data(), values.size() / channels) != EBUR128_SUCCESS) {
        throw RecorderError("Zu wenig Arbeitsspeicher, um die Lautheit zu messen.");
    }
    if (figures_ == Figures::all) peaks_.add(values);
}

Loudness LoudnessMeter::loudness() const {
    Loudness loudness;
    double value = 0;
    if (ebur128_loudness_global(library_->state, &value) == EBUR128_SUCCESS && std::isfinite(value) && value > kGate) {
        loudness.integrated = value;
    }
    if (figures_ != Figures::all) return loudness;
    if (loudness.integrated && ebur128_loudness_range(library_->state, &value) == EBUR128_SUCCESS)
        loudness.range = value;
    const double peak = peaks_.peak();
    if (peak > 0) loudness.truePeak = 20 * std::log10(peak);
    return loudness;
}

}  // namespace lumivastor::media
