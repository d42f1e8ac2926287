// SPDX-License-Identifier: GPL-3.0-or-later

// "project.json" from anywhere: read or refused; what was read survives being written, and an edit state either
// follows from it or is refused.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/recorder_error.h"
#include "edit/edit_state.h"
#include "model/project_settings.h"
#include "model/record_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivastor;
    model::ProjectSettings settings;
    try {
        settings = model::ProjectSettings::parse(FileBytes::copyOf({reinterpret_cast<const char*>(data), size}));
    } catch (const RecorderError&) {
        return 0;
    }
    std::string text;
    model::JsonWriter writer([&text](std::string_view piece) { text += piece; });
    writeRecord(writer, settings);
    writer.finish();
    if (model::ProjectSettings::parse(FileBytes::copyOf(text)) != settings) std::abort();

    model::CaptureInfo info;
    info.pixelWidth = 640;
    info.pixelHeight = 480;
    info.duration = 3;
    model::PointerTrack track;
    track.events = {{0, 1, 2, 0, 0, model::PointerKind::move, {}, {}, {}},
                    {1, 200, 200, 0, 0, model::PointerKind::down, {}, {}, {}}};
    const edit::Recording recording("", info, track);
    try {
        const auto state = edit::deriveEditState(recording, settings, {1280, 720});
        double last = -1e300;
        for (const auto& key : state->zoomEngine->scaleKeys()) {
            if (!(key.t > last)) std::abort();
            last = key.t;
        }
        if (!(state->zoomEngine->camera(1.5).scale >= 1)) std::abort();
        for (const Interval& segment : state->keptSegments) {
            if (!(segment.start >= 0 && segment.start < segment.end && segment.end <= info.duration)) std::abort();
        }
        if (!(state->outputDuration >= 0 && state->outputDuration <= info.duration * 1.0001)) std::abort();
    } catch (const RecorderError&) {
        return 0;
    }
    return 0;
}
