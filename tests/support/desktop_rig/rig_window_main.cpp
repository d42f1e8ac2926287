// SPDX-License-Identifier: GPL-3.0-or-later

// A program with one window, for tests that need a window of another process. Lives until it is ended.
//   rig_window DISPLAY CLASS X Y WIDTH HEIGHT RRGGBB [flash]
// With "flash" all of it changes its colour 120 times a second.

#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <thread>

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
        lumivastor::RigWindow window(argv[1], options);
        if (argc <= 8) {
            for (;;) pause();
        }
        auto next = std::chrono::steady_clock::now();
        for (std::uint32_t color = 0;; color += 0x010305) {
            window.fill(color & 0xffffff);
            next += std::chrono::microseconds(8333);
            std::this_thread::sleep_until(next);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
