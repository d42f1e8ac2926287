// SPDX-License-Identifier: GPL-3.0-or-later

// Makes pictures of the application's windows on a Wayland desktop, for review. Drives the program itself with a
// pointer on its own compositor. Takes about half a minute.
//
//   wayland_pictures FOLDER SUFFIX SCALE
//
// SCALE is the number of pixels per point. Every picture is FOLDER/wayland-NAME@SUFFIX.png.

#include <QPoint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/formatted.h"
#include "support/await.h"
#include "support/driven_wayland_application.h"

namespace lumivastor {
namespace {

void need(bool isSo, const std::string& what) {
    if (!isSo) throw std::runtime_error("it does not happen that " + what);
}

class Story {
  public:
    Story(std::string folder, std::string suffix, double scale)
        : folder_(std::move(folder)), suffix_(std::move(suffix)), app_(map_, scale) {}

    void tell() {
        need(app_.start(), "the program starts");
        picture("main");
        picture("main-close", kMainTitle);
        need(app_.choose(app::SourceType::region), "regions are chosen");
        picture("main-region");
        need(app_.choose(app::SourceType::window), "windows are chosen");
        picture("main-window");
        need(app_.choose(app::SourceType::region), "regions are chosen again");
        need(app_.click("recordButton"), "a region is asked for");
        need(await([this] { return app_.isShown(kPickerTitle); }), "a picture of the screen is shown");
        sleepFor(0.5);
        picture("region");
        need(app_.drag(kPickerTitle, {200, 150}, {840, 510}, [this] { picture("region-dragged"); }), "it is dragged");
        sleepFor(0.5);
        picture("region-countdown");
        need(await([this] { return app_.home().isRecording(); }), "it records the region");
        sleepFor(1);
        need(app_.runVerb("stop") == 0, "it stops");
        need(await([this] { return app_.home().isFinished(); }), "the recording is finished");
        sleepFor(1);
        need(app_.choose(app::SourceType::display), "displays are chosen");
        need(app_.click("recordButton"), "a recording begins");
        sleepFor(0.5);
        picture("countdown");
        picture("countdown-close", kMainTitle);
        need(await([this] { return app_.home().isRecording(); }), "it records");
        sleepFor(1);
        picture("recording");
        need(app_.runVerb("stop") == 0, "it stops");
        need(await([this] { return app_.home().isFinished(); }), "the recording is finished");
        sleepFor(2);
        picture("editor");
    }

  private:
    void picture(const std::string& name) const { take(name, {}); }
    // Only this window.
    void picture(const std::string& name, const std::string& title) const {
        const auto place = app_.desktop().windowRect(title);
        need(place.has_value(), "there is a window " + title);
        take(name, {"-g", formatted("%.0f,%.0f %.0fx%.0f", place->x, place->y, place->width, place->height)});
    }
    void take(const std::string& name, std::vector<std::string> options) const {
        options.insert(options.begin(), "grim");
        options.push_back(folder_ + "/wayland-" + name + "@" + suffix_ + ".png");
        need(ProgramRun(options, app_.environment()).wait() == 0, "grim makes a picture");
    }

    const std::string folder_;
    const std::string suffix_;
    WindowMap map_;
    DrivenWaylandApplication app_;
};

}  // namespace
}  // namespace lumivastor

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: wayland_pictures FOLDER SUFFIX SCALE\n", stderr);
        return 2;
    }
    try {
        lumivastor::Story(argv[1], argv[2], std::atof(argv[3])).tell();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
