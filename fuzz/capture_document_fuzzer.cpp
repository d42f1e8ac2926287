// SPDX-License-Identifier: GPL-3.0-or-later

// "capture.json" from anywhere: read or refused; what was read survives being written, and an edit state either
// follows from it or is refused.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "base/recorder_error.h"
#include "edit/edit_state.h"
#include "imaging/picture_limits.h"
#include "model/capture_info.h"
#include "model/record_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivastor;
    model::CaptureInfo info;
    try {
        info = model::CaptureInfo::parse(FileBytes::copyOf({reinterpret_cast<const char*>(data), size}));
    } catch (const RecorderError&) {
        return 0;
    }
    std::string text;
    model::JsonWriter writer([&text](std::string_view piece) { text += piece; });
    writeRecord(writer, info);
    writer.finish();
    if (model::CaptureInfo::parse(FileBytes::copyOf(text)) != info) std::abort();

    model::PointerTrack track;
    track.events = {{0, 1, 2, 0, 0, model::PointerKind::move, {}, {}, {}},
                    {1, 200, 200, 0, 0, model::PointerKind::down, {}, {}, {}}};
    try {
        const edit::Recording recording("", info, std::move(track));
        if (!imaging::isDecodablePictureSize(info.pixelWidth, info.pixelHeight)) std::abort();
        edit::deriveEditState(recording, {}, {1280, 720});
    } catch (const RecorderError&) {
        return 0;
    }
    return 0;
}
