// SPDX-License-Identifier: GPL-3.0-or-later

// Prints the zooms that the video of a recording has: when, how close, and where to.
//   print_zooms FOLDER
// Needs only what a recording's documents say, so it opens no movie and links neither FFmpeg nor Qt nor X11.

#include <cstdio>

#include "base/recorder_error.h"
#include "edit/edit_state.h"
#include "edit/recording.h"
#include "model/project_settings.h"

int main(int argc, char** argv) {
    using namespace lumivastor;
    if (argc != 2) {
        std::fprintf(stderr, "Usage: print_zooms FOLDER\n");
        return 2;
    }
    try {
        // What was recorded, the choices of its editor, and what follows from both on a canvas of this size.
        const edit::Recording recording = edit::Recording::load(argv[1]);
        const model::ProjectSettings settings = model::ProjectSettings::load(argv[1]);
        const auto state = edit::deriveEditState(recording, settings, {1920, 1080});

        std::printf("%zu zooms, %s\n", state->zoomSpecs.size(),
                    settings.zooms ? "made by hand" : "proposed from clicks");
        for (const model::ZoomSpec& zoom : state->zoomSpecs) {
            std::printf("%.2f s to %.2f s, %.1f times\n", zoom.start, zoom.end, zoom.scale);
            for (const model::FocusKey& key : zoom.focus) {
                std::printf("  at %.2f s on %.0f, %.0f\n", key.t,
                            key.x * static_cast<double>(recording.info.pixelWidth),
                            key.y * static_cast<double>(recording.info.pixelHeight));
            }
        }
        return 0;
    } catch (const RecorderError& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
