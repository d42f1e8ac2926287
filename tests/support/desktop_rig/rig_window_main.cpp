// A program with one window, for tests that need a window of another process. Lives until it is ended.
//   rig_window DISPLAY CLASS X Y WIDTH HEIGHT RRGGBB [override]

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "support/desktop_rig/rig_window.h"

int main(int argc, char** argv) {
    if (argc < 8) return 2;
    try {
        lumivastor::RigWindow::Options options;
        options.className = argv[2];
        options.title = argv[2];
        options.x = std::atoi(argv[3]);
        options.y = std::atoi(argv[4]);
        options.width = std::atoi(argv[5]);
        options.height = std::atoi(argv[6]);
        options.color = static_cast<std::uint32_t>(std::stoul(argv[7], nullptr, 16));
        options.isOverride = argc > 8;
        const lumivastor::RigWindow window(argv[1], options);
        for (;;) pause();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
