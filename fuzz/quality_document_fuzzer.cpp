// SPDX-License-Identifier: GPL-3.0-or-later

// "quality.json" from anywhere: read or refused; what was read survives being written.

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "base/recorder_error.h"
#include "model/record_writer.h"
#include "model/recording_quality.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivastor;
    model::RecordingQuality quality;
    try {
        quality = model::RecordingQuality::parse(FileBytes::copyOf({reinterpret_cast<const char*>(data), size}));
    } catch (const RecorderError&) {
        return 0;
    }
    const std::string text = model::encodedDocument(quality);
    if (model::RecordingQuality::parse(FileBytes::copyOf(text)) != quality) std::abort();
    return 0;
}
