// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/driven_wayland_application.h"

#include "support/await.h"

namespace lumivastor {

namespace {

// Until the program and the compositor have dealt with what a hand has done.
constexpr double kHandPause = 0.3;

}  // namespace

DrivenWaylandApplication::DrivenWaylandApplication(WindowMap& map, double scale)
    : map_(map),
      rig_({.width = static_cast<int>(kWidth * scale), .height = static_cast<int>(kHeight * scale), .scale = scale}) {}

DrivenWaylandApplication::~DrivenWaylandApplication() = default;

std::map<std::string, std::string> DrivenWaylandApplication::environment() const {
    auto environment = rig_.environment();
    environment["HOME"] = home_.path().string();
    environment["XDG_CONFIG_HOME"] = "";
    environment["LUMIVASTOR_TEST_CAMERA"] = "testsrc2=size={size}:rate=30";
    environment["QT_QPA_PLATFORM"] = "";
    return environment;
}

bool DrivenWaylandApplication::start() {
    // Ends with this process also when that is killed.
    program_ = std::make_unique<ProgramRun>(std::vector<std::string>{"setpriv", "--pdeathsig", "KILL", LUMI_PROGRAM},
                                            environment());
    if (!await([this] { return isShown(kMainTitle) || !program_->isRunning(); })) return false;
    // Until the sources are listed.
    sleepFor(1);
    return program_->isRunning();
}

int DrivenWaylandApplication::runVerb(const std::string& verb) const {
    return ProgramRun({LUMI_PROGRAM, verb}, environment()).wait();
}

bool DrivenWaylandApplication::clickAt(const std::string& title, QPoint at) {
    const auto window = rig_.windowRect(title);
    if (!window) return false;
    pointer_.moveTo(window->x + at.x(), window->y + at.y());
    sleepFor(kHandPause);
    pointer_.click();
    sleepFor(kHandPause);
    return true;
}

bool DrivenWaylandApplication::drag(const std::string& title, QPoint from, QPoint to,
                                    const std::function<void()>& atEnd) {
    const auto window = rig_.windowRect(title);
    if (!window) return false;
    constexpr int kSteps = 8;
    for (int step = 0; step <= kSteps; ++step) {
        const QPointF at = QPointF(from) + QPointF(to - from) * step / kSteps;
        pointer_.moveTo(window->x + at.x(), window->y + at.y());
        if (step == 0) pointer_.press();
        sleepFor(0.02);
    }
    if (atEnd) atEnd();
    pointer_.release();
    sleepFor(kHandPause);
    return true;
}

}  // namespace lumivastor
