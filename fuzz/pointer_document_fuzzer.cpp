// SPDX-License-Identifier: GPL-3.0-or-later

// "pointer.json" from anywhere: read or refused; what was read survives being written, and an edit state either
// follows from it or is refused.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "base/recorder_error.h"
#include "edit/edit_state.h"
#include "model/pointer_track.h"
#include "model/record_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivastor;
    model::PointerTrack track;
    try {
        track = model::PointerTrack::parse(FileBytes::copyOf({reinterpret_cast<const char*>(data), size}));
    } catch (const RecorderError&) {
        return 0;
    }
    std::string text;
    model::JsonWriter writer([&text](std::string_view piece) { text += piece; });
    writeRecord(writer, track);
    writer.finish();
    if (model::PointerTrack::parse(FileBytes::copyOf(text)) != track) std::abort();

    model::CaptureInfo info;
    info.pixelWidth = 640;
    info.pixelHeight = 480;
    info.duration = 3;
    try {
        const edit::Recording recording("", info, std::move(track));
        const auto state = edit::deriveEditState(recording, {}, {1280, 720});
        state->cursorEngine->position(1.5);
        edit::cursorShapeAt(recording.track.cursorChanges, 1.5);
    } catch (const RecorderError&) {
        return 0;
    }
    return 0;
}
