// SPDX-License-Identifier: GPL-3.0-or-later

// A desktop without a screen on which a scripted pointer uses a small program: something to record on machines without
// a display. Runs a command on that desktop and plays the script meanwhile, which takes about sixteen seconds. The exit
// status is the command's.
//
//   scripted_desktop COMMAND [ARGUMENTS...]

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <string>
#include <thread>

#include "demo_window.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/scripted_pointer.h"

namespace lumivastor {
namespace {

// Moves the pointer like a hand: faster in the middle, on a slight arc.
class Hand {
  public:
    explicit Hand(const std::string& displayName) : pointer_(displayName) { pointer_.moveTo(at(x_), at(y_)); }

    void glideTo(Point to, double seconds) {
        const Point from{x_, y_};
        const double bend = std::hypot(to.x - from.x, to.y - from.y) * 0.06;
        const int steps = std::max(1, static_cast<int>(seconds * 90));
        for (int i = 1; i <= steps; ++i) {
            const double u = static_cast<double>(i) / steps;
            const double eased = u * u * (3 - 2 * u);
            x_ = from.x + (to.x - from.x) * eased;
            y_ = from.y + (to.y - from.y) * eased - bend * 4 * u * (1 - u);
            pointer_.moveTo(at(x_), at(y_));
            pause(seconds / steps);
        }
    }

    void click() {
        pointer_.press(1);
        pause(0.09);
        pointer_.release(1);
    }

    void scrollDown() { pointer_.click(5); }

    static void pause(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

  private:
    static int at(double position) { return static_cast<int>(std::lround(position)); }

    ScriptedPointer pointer_;
    double x_ = 1500;
    double y_ = 950;
};

Point centre(const Rect& rect) {
    return {rect.midX(), rect.midY()};
}

void play(DemoWindow& window, Hand& hand) {
    // The command needs a moment to begin: a recorder tries encoders first.
    hand.pause(4.0);
    hand.glideTo(window.onScreen(centre(DemoWindow::document(1))), 1.0);
    hand.click();
    window.showDocument(1);
    hand.pause(1.2);
    hand.glideTo(window.onScreen({720, 470}), 0.7);
    for (int notch = 1; notch <= 5; ++notch) {
        hand.scrollDown();
        for (int step = 1; step <= 4; ++step) {
            window.scrollTo((notch - 1) * 48 + step * 12);
            hand.pause(0.02);
        }
        hand.pause(0.05);
    }
    hand.pause(0.5);
    hand.glideTo(window.onScreen(centre(DemoWindow::searchField())), 0.8);
    hand.click();
    const std::string words = "Zeiger";
    for (std::size_t i = 1; i <= words.size(); ++i) {
        window.typeInField(words.substr(0, i));
        hand.pause(0.13);
    }
    hand.pause(0.4);
    hand.glideTo(window.onScreen(centre(DemoWindow::markButton())), 0.8);
    hand.click();
    window.setMarked(true);
    hand.pause(1.0);
    hand.glideTo(window.onScreen(centre(DemoWindow::saveButton())), 0.6);
    hand.click();
    window.setSaved(true);
    // Clicks in the last second before the pointer rests count as those that end the recording.
    hand.pause(1.2);
    hand.glideTo(window.onScreen({900, 560}), 1.0);
    hand.pause(1.5);
}

int run(char** command) {
    DesktopRig desktop({.width = 1920, .height = 1080, .hasWindowManager = true});
    desktop.paintRoot(0x39566f, true);
    DemoWindow window(desktop.displayName());
    Hand hand(desktop.displayName());
    ::setenv("DISPLAY", desktop.displayName().c_str(), 1);
    pid_t child = -1;
    if (::posix_spawnp(&child, command[0], nullptr, nullptr, command, environ) != 0) {
        std::perror(command[0]);
        return 1;
    }
    play(window, hand);
    int status = 0;
    if (::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return 1;
    return WEXITSTATUS(status);
}

}  // namespace
}  // namespace lumivastor

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: scripted_desktop COMMAND [ARGUMENTS...]\n", stderr);
        return 2;
    }
    try {
        return lumivastor::run(argv + 1);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
