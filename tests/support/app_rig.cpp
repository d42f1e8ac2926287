// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/app_rig.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <utility>

namespace lumivastor {

namespace {

class CountedHold final : public app::SleepInhibitor::Hold {
  public:
    explicit CountedHold(int& holds) : holds_(holds) { ++holds_; }
    ~CountedHold() override { --holds_; }

  private:
    int& holds_;
};

class HandShortcut final : public platform::GlobalShortcut {
  public:
    HandShortcut(std::function<void()>& slot, std::function<void()> pressed) : slot_(slot) {
        slot_ = std::move(pressed);
    }
    ~HandShortcut() override { slot_ = nullptr; }

    std::string keys() const override { return "Strg+Alt+Umschalt+S"; }

  private:
    std::function<void()>& slot_;
};

}  // namespace

int RecordedView::count(const std::string& call) const {
    return static_cast<int>(std::count(calls.begin(), calls.end(), call));
}

void RecordedView::show(const app::MainWindowState& newState) {
    if (statuses.empty() || newState.status != statuses.back()) statuses.push_back(newState.status);
    state = newState;
}

void RecordedView::showCameraPreview(std::shared_ptr<capture::WebcamPreview> preview) {
    calls.emplace_back("showCamera");
    cameraPreview = std::move(preview);
}

void RecordedView::hideCameraPreview() {
    calls.emplace_back("hideCamera");
    cameraPreview.reset();
}

bool RecordedView::hasScreen(const platform::Display& display) {
    return std::find(screens.begin(), screens.end(), display.name) != screens.end();
}

void RecordedView::pickRegionOnPicture(const platform::Display& display,
                                       std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture,
                                       std::function<void(std::optional<Rect>)> completion) {
    calls.push_back("pickOnPicture " + display.name);
    regionPicture = std::move(picture);
    regionCompletion = std::move(completion);
}

void RecordedView::pickRegion(const platform::Display& display, std::function<void(std::optional<Rect>)> completion) {
    calls.push_back("pick " + display.name);
    regionCompletion = std::move(completion);
}

void RecordedView::showRecordingPanel(const std::optional<platform::Display>& display,
                                      std::shared_ptr<capture::WebcamPreview> preview, const app::RecordingKeys& keys) {
    panelHasShortcut = !keys.stop.empty();
    calls.push_back("panel " + (display ? display->name : std::string("main screen")));
    panelPreview = std::move(preview);
}

void RecordedView::askForFolder(const std::string& message, const std::filesystem::path& start,
                                std::function<void(std::optional<std::filesystem::path>)> completion) {
    folderMessage = message;
    folderAskedFrom = start;
    completion(folderToChoose);
}

void RecordedView::openEditor(const std::filesystem::path& folder) {
    if (editorError) throw RecorderError(*editorError);
    calls.push_back("editor " + folder.string());
    if (onOpenEditor) onOpenEditor(folder);
}

std::unique_ptr<app::SleepInhibitor::Hold> CountedInhibitor::inhibit(const std::string&) {
    return std::make_unique<CountedHold>(holds);
}

AppRig::AppRig() {
    desktop_.setContent(appContent());
}

AppRig::~AppRig() {
    app_.reset();
    // Work that comes too late holds a shortcut, which refers to this object.
    loop_.runPending();
}

platform::ShareableContent AppRig::appContent() {
    platform::ShareableContent content = RecorderRig::content();
    const platform::RunningApplication terminal{42, "xterm", "Terminal"};
    const platform::RunningApplication nameless{43, "helper", std::nullopt};
    const platform::RunningApplication own{44, "lumivastor", "LumiVastor"};
    content.applications = {terminal, nameless, own};
    content.ownApplication = own;
    content.windows = {{77, "Sitzung 1", terminal, 0, {1100, 150, 300, 200}, 9},
                       {78, "", nameless, 0, {0, 0, 500, 400}, 7},
                       {79, "", terminal, 0, {0, 0, 350, 250}, 7},
                       {80, "LumiVastor", own, 0, {0, 0, 580, 634}, 7}};
    return content;
}

app::AppServices AppRig::appServices() {
    app::AppServices services{services_, root_, preferences_, sleep_,
                              [this](std::function<void()> pressed, const std::vector<platform::FurtherKeys>& further,
                                     const std::stop_token& stop) {
                                  for (const platform::FurtherKeys& each : further)
                                      pressKeys_[each.keys.letter] = each.pressed;
                                  while (grabWaits_ && !stop.stop_requested())
                                      std::this_thread::sleep_for(std::chrono::milliseconds(1));
                                  if (stop.stop_requested()) return std::unique_ptr<HandShortcut>();
                                  return shortcutIsTaken_
                                             ? std::unique_ptr<HandShortcut>()
                                             : std::make_unique<HandShortcut>(pressShortcut_, std::move(pressed));
                              }};
    services.grabShortcut = [this](const platform::ShortcutRequest& request, std::function<void()> pressed) {
        return std::make_unique<HandShortcut>(pressKeys_[request.keys.letter], std::move(pressed));
    };
    services.offerStop = [this](std::function<void()> stop) {
        stopFromOutside_ = std::move(stop);
        return std::shared_ptr<void>(this, [this](void*) { stopFromOutside_ = nullptr; });
    };
    // A quarter past nine on 2025-03-14, local time.
    std::tm time{};
    time.tm_year = 125;
    time.tm_mon = 2;
    time.tm_mday = 14;
    time.tm_hour = 9;
    time.tm_min = 5;
    time.tm_sec = 33;
    time.tm_isdst = -1;
    // Most tests are about what the window says before.
    services.prove = [](const std::filesystem::path&, const std::stop_token&) -> model::RecordingQuality {
        throw RecorderError("Hier wird nicht geprüft.");
    };
    services.wallClock = [seconds = std::mktime(&time)] { return seconds; };
    if (beforeLaunch_) beforeLaunch_(services);
    return services;
}

void AppRig::useSlowCheckVideos() {
    beforeLaunch_ = [this](app::AppServices& services) {
        services.renderCheckVideo = [this](const std::filesystem::path&, const render::CursorRenderer::Options&,
                                           std::function<void(const render::CursorRenderer::Outcome&)> then) {
            checkVideoEnds_ = std::move(then);
            return std::jthread([this](const std::stop_token& stop) {
                std::mutex lock;
                std::condition_variable_any wake;
                std::unique_lock hold(lock);
                wake.wait(hold, stop, [] { return false; });
                checkVideoWasStopped_ = true;
            });
        };
    };
    temporary_.write("source.mov", "");
    view_.folderToChoose = temporary_.path();
}

void AppRig::launch(const app::CommandSwitches& switches) {
    app_ = std::make_unique<app::AppDelegate>(appServices(), view_);
    app_->applicationDidFinishLaunching(switches);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.status != "Suche Quellen …"; }));
}

void AppRig::untilStatus(const std::string& start) {
    ASSERT_TRUE(loop_.runUntil([&] { return view_.state.status.starts_with(start); })) << view_.state.status;
}

void AppRig::untilCalled(const std::string& call) {
    ASSERT_TRUE(loop_.runUntil([&] { return view_.count(call) > 0; })) << view_.state.status;
}

void AppRig::startRecording() {
    app_->toggleRecording();
    untilCalled("countdown 3");
    loop_.advance(3);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme stoppen"; })) << view_.state.status;
    const auto configuration = desktop_.configuration();
    if (configuration) emitPicture();
}

void AppRig::emitPicture() {
    const auto configuration = desktop_.configuration();
    desktop_.emitScreen(
        {platform::FrameStatus::complete, loop_.now(), picture(configuration->width, configuration->height, 90)});
}

void AppRig::stopRecording() {
    app_->stopFromStatusItem();
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.status != "Schließe die Datei ab …"; }));
}

}  // namespace lumivastor
