// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/app_delegate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <new>
#include <thread>

#include "app/no_view.h"
#include "capture/journal/journal_records.h"
#include "capture/live_video.h"
#include "model/capture_info.h"
#include "support/app_rig.h"

namespace lumivastor::app {
namespace {

using AppDelegateTest = AppRig;

constexpr const char* kAsked = "Ein Video wird gerendert – noch einmal schließen bricht ab.";

// Launch and sources

TEST_F(AppDelegateTest, LaunchesWithTheWindowAndTheListOfDisplays) {
    launch();
    EXPECT_EQ(view_.statuses,
              (std::vector<std::string>{"Bereit.", "Suche Quellen …", "Bereit. 2 Bildschirm(e) gefunden."}));
    EXPECT_EQ(view_.state.sourceItems,
              (std::vector<std::string>{"Bildschirm 1 – 320×240 px", "Bildschirm 2 – 1280×720 px"}));
    EXPECT_EQ(view_.state.choices.sourceIndex, 0);
    EXPECT_EQ(view_.count("showMainWindow"), 1);
    EXPECT_EQ(view_.state.recordTitle, "Aufnahme starten");
    EXPECT_TRUE(view_.state.recordEnabled && view_.state.controlsEnabled);
}

TEST_F(AppDelegateTest, EncodersAreTriedOnceForTheDisplays) {
    launch();
    app_->refreshSources();
    untilStatus("Bereit.");
    app_.reset();
    const std::vector<media::EncodingJob> jobs = encodingJobs();
    ASSERT_EQ(jobs.size(), 2u);
    EXPECT_EQ(jobs[0].width, 320);
    EXPECT_EQ(jobs[0].height, 240);
    EXPECT_EQ(jobs[0].frameRate, 60);
    EXPECT_EQ(jobs[0].averageBitRate, capture::averageBitRate(320, 240, 60));
    EXPECT_EQ(jobs[1].width, 1280);
    EXPECT_EQ(jobs[1].height, 720);
}

TEST_F(AppDelegateTest, ChangingTheTypeRefillsThePopup) {
    launch();
    app_->sourceSelected(1);
    app_->sourceTypeChanged(SourceType::window);
    EXPECT_EQ(view_.state.sourceItems, (std::vector<std::string>{" – (ohne Titel)", "Terminal – Sitzung 1"}));
    EXPECT_EQ(view_.state.choices.sourceIndex, 0);
    EXPECT_EQ(view_.state.status, "Bereit. 2 Fenster gefunden (↻ aktualisiert die Liste).");
    app_->sourceTypeChanged(SourceType::device);
    EXPECT_EQ(view_.state.choices.sourceIndex, -1);
}

TEST_F(AppDelegateTest, RefreshingLooksAgain) {
    launch();
    app_->sourceTypeChanged(SourceType::window);
    platform::ShareableContent content = appContent();
    content.windows.clear();
    desktop_.setContent(content);
    app_->refreshSources();
    EXPECT_EQ(view_.state.status, "Suche Quellen …");
    untilStatus("Kein aufnehmbares Fenster gefunden");
    EXPECT_TRUE(view_.state.sourceItems.empty());
}

TEST_F(AppDelegateTest, ADesktopThatCannotBeLookedAtIsTold) {
    desktop_.failContent(RecorderError("Der Server antwortet nicht."));
    launch();
    EXPECT_EQ(view_.state.sourceItems, (std::vector<std::string>{"keine Berechtigung"}));
    EXPECT_TRUE(view_.state.status.starts_with("Die Bildschirmaufnahme ist noch nicht erlaubt.\n"));
    EXPECT_TRUE(logged("[Permissions] SCShareableContent: Der Server antwortet nicht."));
    app_->toggleRecording();
    EXPECT_EQ(view_.state.status, "Kein Bildschirm ausgewählt.");
    desktop_.failContent(std::nullopt);
    app_->refreshSources();
    untilStatus("Bereit. 2 Bildschirm(e)");
}

TEST_F(AppDelegateTest, WhateverThrowsInTheBackgroundDoesNotEndTheProgram) {
    const std::string reason = "Der Arbeitsspeicher reicht nicht.";
    services_.chooseEncoder = [](const media::EncodingJob&) -> media::EncoderChoice { throw std::bad_alloc(); };
    const auto camera =
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    std::promise<void> opening;
    opening.set_exception(std::make_exception_ptr(std::bad_alloc()));
    camera->holdOpens(opening.get_future().share());
    devices_.setDefaultCamera(camera);
    desktop_.failContent(std::make_exception_ptr(std::bad_alloc()));
    launch();
    EXPECT_TRUE(logged("[Permissions] SCShareableContent: " + reason));
    desktop_.failContent(std::nullopt);
    app_->refreshSources();
    untilStatus("Bereit. 2 Bildschirm(e)");
    app_->webcamToggled(true);
    untilStatus("Ohne Kameraberechtigung keine Facecam.");
    EXPECT_TRUE(logged("[Permissions] Kamera: " + reason));
    app_.reset();
    EXPECT_TRUE(logged("[Capture] Encoder nicht erprobt: " + reason));
}

TEST_F(AppDelegateTest, WithoutASourceEveryTypeSaysWhatToDo) {
    desktop_.setContent({});
    launch();
    const auto statusOfStart = [this](SourceType type) {
        app_->sourceTypeChanged(type);
        app_->toggleRecording();
        return view_.state.status;
    };
    EXPECT_EQ(statusOfStart(SourceType::display), "Kein Bildschirm ausgewählt.");
    EXPECT_EQ(statusOfStart(SourceType::window), "Kein Fenster ausgewählt - Liste mit ↻ aktualisieren.");
    EXPECT_EQ(statusOfStart(SourceType::region), "Kein Bildschirm ausgewählt.");
    EXPECT_EQ(statusOfStart(SourceType::device), "Kein Geraet ausgewaehlt - iPhone anschliessen und ↻ druecken.");
    EXPECT_FALSE(std::filesystem::exists(root_));
}

TEST_F(AppDelegateTest, WhereOnlyWindowsCanBeRecordedTheRestIsRefusedWithTheReason) {
    platform::ShareableContent content = appContent();
    content.displayRefusal = "Nur Fenster.";
    desktop_.setContent(content);
    launch();
    EXPECT_EQ(view_.state.status, "Nur Fenster.");
    for (const SourceType type : {SourceType::display, SourceType::region}) {
        app_->sourceTypeChanged(SourceType::window);
        EXPECT_EQ(view_.state.status, "Bereit. 2 Fenster gefunden (↻ aktualisiert die Liste).");
        app_->sourceTypeChanged(type);
        app_->toggleRecording();
        EXPECT_EQ(view_.state.status, "Nur Fenster.");
        EXPECT_EQ(view_.count("hideMainWindow"), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(root_));
}

TEST_F(AppDelegateTest, OpenEditorOpensASecondLater) {
    launch({.openEditor = "/videos/a"});
    loop_.advance(0.9);
    EXPECT_EQ(view_.count("editor /videos/a"), 0);
    loop_.advance(0.2);
    EXPECT_EQ(view_.count("editor /videos/a"), 1);
    loop_.advance(10);
    EXPECT_EQ(view_.count("editor /videos/a"), 1);
}

TEST_F(AppDelegateTest, ChooseRecordingShowsTheListASecondLater) {
    launch({.openEditor = {}, .chooseRecording = true});
    loop_.advance(0.9);
    EXPECT_EQ(view_.count("showRecordings"), 0);
    loop_.advance(0.2);
    EXPECT_EQ(view_.count("showRecordings"), 1);
}

TEST_F(AppDelegateTest, AnEditorThatDoesNotOpenIsTold) {
    launch();
    view_.editorError = "Keine Aufnahme.";
    app_->open("/videos/a");
    EXPECT_EQ(view_.state.status, "Editor konnte nicht geöffnet werden: Keine Aufnahme.");
    EXPECT_TRUE(logged("[Editor] Öffnen fehlgeschlagen: Keine Aufnahme."));
}

TEST_F(AppDelegateTest, TestRegionGoesToTheOverlayByItself) {
    launch({.openEditor = {}, .testRegion = true});
    loop_.advance(2.9);
    EXPECT_EQ(view_.count("arm links"), 0);
    loop_.advance(0.2);
    EXPECT_EQ(view_.state.choices.sourceType, SourceType::region);
    EXPECT_EQ(view_.count("arm links"), 1);
    loop_.advance(1.3);
    EXPECT_EQ(view_.count("pick links"), 0);
    loop_.advance(0.2);
    EXPECT_EQ(view_.count("pick links"), 1);
    EXPECT_TRUE(logged("[Region] Testmodus: löse Ausschnitt-Fluss aus"));
}

// Preferences

TEST_F(AppDelegateTest, AutomaticZoomsAreOnUntilTheUserSaysOtherwise) {
    launch();
    EXPECT_TRUE(view_.state.choices.autoZoom);
    EXPECT_FALSE(preferences_.autoZooms) << "nothing is stored before";
    app_->autoZoomToggled(false);
    EXPECT_EQ(preferences_.autoZooms, false);
    launch();
    EXPECT_FALSE(view_.state.choices.autoZoom);
}

// Camera

TEST_F(AppDelegateTest, TheWebcamBoxShowsTheCameraAndHidesIt) {
    const auto camera =
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    devices_.setDefaultCamera(camera);
    launch();
    app_->webcamToggled(true);
    untilCalled("showCamera");
    EXPECT_TRUE(camera->isRunning());
    app_->webcamToggled(false);
    // It is closed in the background.
    ASSERT_TRUE(loop_.runUntil([&camera] { return !camera->isRunning(); }));
    EXPECT_EQ(view_.cameraPreview, nullptr);
}

TEST_F(AppDelegateTest, ACameraThatRefusesSwitchesTheBoxOff) {
    const auto camera =
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    camera->failOpens("Keine Rechte.");
    devices_.setDefaultCamera(camera);
    launch();
    app_->webcamToggled(true);
    untilStatus("Ohne Kameraberechtigung keine Facecam.");
    EXPECT_EQ(view_.state.status, "Ohne Kameraberechtigung keine Facecam.");
    EXPECT_FALSE(view_.state.choices.webcam);
    app_->webcamToggled(true);
    untilStatus("Kamerazugriff");
    EXPECT_EQ(view_.state.status,
              "Kamerazugriff ist gesperrt: Systemeinstellungen → Datenschutz & Sicherheit → Kamera → LumiVastor "
              "erlauben.");
    EXPECT_FALSE(view_.state.choices.webcam);
    camera->failOpens(std::nullopt);
    app_->webcamToggled(true);
    untilCalled("showCamera");
    EXPECT_TRUE(view_.state.choices.webcam);
}

TEST_F(AppDelegateTest, WithoutACameraTheStatusSaysSo) {
    launch();
    app_->webcamToggled(true);
    untilStatus("Es wurde keine Kamera gefunden.");
}

// Folders and check video

TEST_F(AppDelegateTest, FoldersAreAskedForWhereRecordingsAre) {
    launch();
    app_->renderStudioVideo();
    EXPECT_EQ(view_.count("showRecordings"), 1);
    EXPECT_EQ(view_.folderMessage, "") << "the list comes first";
    app_->chooseFolder([](const std::string&) { FAIL(); });
    EXPECT_EQ(view_.folderMessage, "Aufnahmeordner auswählen (enthält source.mov und pointer.json)");
    EXPECT_EQ(view_.folderAskedFrom, root_);
    EXPECT_TRUE(view_.state.status.starts_with("Bereit.")) << "cancelled";
}

TEST_F(AppDelegateTest, AFolderWithoutAMovieIsNotOpened) {
    launch();
    view_.folderToChoose = temporary_.path();
    std::string refusal;
    const auto choose = [&] { app_->chooseFolder([&](const std::string& sentence) { refusal = sentence; }); };
    choose();
    EXPECT_EQ(view_.state.status, "In diesem Ordner liegt keine source.mov.");
    EXPECT_EQ(refusal, "In diesem Ordner liegt keine source.mov.");
    temporary_.write("source.mov", "");
    view_.editorError = "Keine Aufnahme.";
    choose();
    EXPECT_EQ(refusal, "Editor konnte nicht geöffnet werden: Keine Aufnahme.");
    view_.editorError.reset();
    choose();
    EXPECT_EQ(view_.count("editor " + temporary_.path().string()), 1);
}

TEST_F(AppDelegateTest, WhatIsOpenedIsTold) {
    std::vector<std::filesystem::path> opened;
    beforeLaunch_ = [&](AppServices& services) {
        services.recordingOpened = [&](const std::filesystem::path& folder) { opened.push_back(folder); };
    };
    launch();
    EXPECT_EQ(app_->open("/videos/a"), std::nullopt);
    EXPECT_EQ(opened, std::vector<std::filesystem::path>{"/videos/a"});
    view_.editorError = "Keine Aufnahme.";
    EXPECT_EQ(app_->open("/videos/b"), "Editor konnte nicht geöffnet werden: Keine Aufnahme.");
    EXPECT_EQ(opened.size(), 1U);
}

TEST_F(AppDelegateTest, TheCheckVideoShowsItsProgressAndTheFile) {
    render::CursorRenderer::Options options;
    std::function<void(const render::CursorRenderer::Outcome&)> completion;
    beforeLaunch_ = [&](AppServices& services) {
        services.renderCheckVideo = [&](const std::filesystem::path&, render::CursorRenderer::Options given,
                                        std::function<void(const render::CursorRenderer::Outcome&)> then) {
            options = std::move(given);
            completion = std::move(then);
            return std::jthread();
        };
    };
    launch();
    temporary_.write("source.mov", "");
    view_.folderToChoose = temporary_.path();
    app_->renderCheckVideo();
    EXPECT_EQ(view_.state.status, "Zeichne den Cursor auf das Video …");
    EXPECT_EQ(view_.state.progress, 0.0);
    options.postToMain([&] { options.progress(0.5); });
    EXPECT_EQ(view_.state.progress, 0.0) << "not before the main thread's turn";
    loop_.runPending();
    EXPECT_EQ(view_.state.progress, 0.5);
    completion(render::CursorRenderer::Result{temporary_ / "test-output.mov", 60, 1.0});
    EXPECT_FALSE(view_.state.progress);
    EXPECT_TRUE(view_.state.status.starts_with("Prüfvideo fertig: 60 Bilder, 1.0 s\ntest-output.mov\n\n"));
    EXPECT_EQ(view_.count("reveal " + (temporary_ / "test-output.mov").string()), 1);

    app_->renderCheckVideo();
    completion(RecorderError("Der Datenträger ist voll."));
    EXPECT_EQ(view_.state.status, "Prüfvideo fehlgeschlagen: Der Datenträger ist voll.");
    EXPECT_TRUE(logged("[Render] Fehler: Der Datenträger ist voll."));
}

TEST_F(AppDelegateTest, ACheckVideoThatCannotEvenBeginIsSaid) {
    beforeLaunch_ = [&](AppServices& services) {
        services.renderCheckVideo =
            [](const std::filesystem::path&, const render::CursorRenderer::Options&,
               const std::function<void(const render::CursorRenderer::Outcome&)>&) -> std::jthread {
            throw RecorderError("Der Arbeitsspeicher reicht nicht.");
        };
    };
    launch();
    temporary_.write("source.mov", "");
    view_.folderToChoose = temporary_.path();
    app_->renderCheckVideo();
    EXPECT_FALSE(view_.state.progress);
    EXPECT_EQ(view_.state.status, "Prüfvideo fehlgeschlagen: Der Arbeitsspeicher reicht nicht.");
}

TEST_F(AppDelegateTest, TheRecordingsFolderIsMadeToBeShown) {
    launch();
    app_->revealFolder();
    EXPECT_TRUE(std::filesystem::is_directory(root_));
    EXPECT_EQ(view_.count("openFolder " + root_.string()), 1);
}

TEST_F(AppDelegateTest, AFolderThatCannotBeShownIsTold) {
    launch();
    view_.canOpenFolders = false;
    app_->revealFolder();
    EXPECT_EQ(view_.state.status, "Der Aufnahmeordner lässt sich nicht öffnen: " + root_.string());
    view_.canOpenFolders = true;
    app_->revealFolder();
    EXPECT_EQ(view_.state.status, "Bereit. 2 Bildschirm(e) gefunden.") << "it no longer holds";
    std::filesystem::remove(root_);
    temporary_.write("Movies", "a file in the way");
    view_.calls.clear();
    app_->revealFolder();
    EXPECT_EQ(view_.state.status, "Der Aufnahmeordner lässt sich nicht öffnen: " + root_.string());
    EXPECT_TRUE(view_.calls.empty());
}

TEST_F(AppDelegateTest, TheMachineStaysAwakeForACheckVideo) {
    useSlowCheckVideos();
    launch();
    app_->renderCheckVideo();
    EXPECT_EQ(sleep_.holds, 1);
    checkVideoEnds_(render::CursorRenderer::Result{temporary_ / "test-output.mov", 60, 1.0});
    EXPECT_EQ(sleep_.holds, 0);
}

// Where the main window may be hidden, but shows the progress.
TEST_F(AppDelegateTest, TheListAsksForTheCheckVideoOfARecording) {
    useSlowCheckVideos();
    launch();
    view_.calls.clear();
    EXPECT_EQ(app_->renderCheckVideo(root_ / "A"), std::nullopt);
    EXPECT_EQ(view_.calls, std::vector<std::string>{"showMainWindow"});
    EXPECT_EQ(view_.state.progress, 0.0);
    EXPECT_EQ(app_->renderCheckVideo(root_ / "B"), "Es wird schon ein Prüfvideo erzeugt.");
    checkVideoEnds_(render::CursorRenderer::Result{temporary_ / "test-output.mov", 60, 1.0});
    startRecording();
    EXPECT_EQ(app_->renderCheckVideo(root_ / "B"), "Während einer Aufnahme entsteht kein Prüfvideo.");
    EXPECT_EQ(view_.state.progress, std::nullopt);
}

TEST_F(AppDelegateTest, ACheckVideoThatEndsDuringARecordingOpensNothing) {
    useSlowCheckVideos();
    launch();
    app_->renderCheckVideo();
    startRecording();
    view_.calls.clear();
    checkVideoEnds_(render::CursorRenderer::Result{temporary_ / "test-output.mov", 60, 1.0});
    EXPECT_TRUE(view_.calls.empty());
    EXPECT_EQ(view_.state.notices.at(NoticeKind::checkVideo).text, "Das Prüfvideo ist fertig.");
    stopRecording();
    app_->revealCheckVideo();
    EXPECT_EQ(view_.count("reveal " + (temporary_ / "test-output.mov").string()), 1);
    EXPECT_FALSE(view_.state.notices.contains(NoticeKind::checkVideo));
}

// Hints

TEST_F(AppDelegateTest, AHintGoesWithWhatItIsAbout) {
    launch();
    const std::string ready = view_.state.status;
    view_.folderToChoose = temporary_.path();
    app_->chooseFolder([](const std::string&) {});
    ASSERT_EQ(view_.state.status, "In diesem Ordner liegt keine source.mov.");
    temporary_.write("source.mov", "");
    app_->chooseFolder([](const std::string&) {});
    EXPECT_EQ(view_.state.status, ready);

    view_.editorError = "Keine Aufnahme.";
    app_->open("/videos/a");
    view_.editorError.reset();
    app_->open("/videos/a");
    EXPECT_EQ(view_.state.status, ready);

    app_->webcamToggled(true);
    untilStatus("Es wurde keine Kamera gefunden.");
    app_->microphoneToggled(true);
    EXPECT_EQ(view_.state.status, "Es wurde keine Kamera gefunden.") << "that is about the camera";
    app_->webcamToggled(false);
    EXPECT_EQ(view_.state.status, ready);
    app_->window().setStatus("Etwas anderes.");
    app_->webcamToggled(false);
    EXPECT_EQ(view_.state.status, "Etwas anderes.");
}

TEST_F(AppDelegateTest, WhatKeptARecordingFromStartingGoesWhenItIsMended) {
    sound_.failStarts(synthetic::SyntheticSoundSystem::Kind::microphone, "Kein Zugriff.");
    launch();
    const std::string ready = view_.state.status;
    app_->microphoneToggled(true);
    app_->toggleRecording();
    untilStatus("Ohne Mikrofonberechtigung");
    app_->microphoneToggled(false);
    EXPECT_EQ(view_.state.status, ready);

    desktop_.failStart(RecorderError("Kein Bild zu bekommen."));
    app_->toggleRecording();
    loop_.advance(3);
    untilStatus("Start fehlgeschlagen");
    app_->toggleRecording();
    EXPECT_EQ(view_.state.status, ready) << "the next attempt has not failed yet";
}

// Interrupted recordings

// A root with two recordings that were interrupted; what recovers them, and what is proved then.
class InterruptedAtLaunch : public AppDelegateTest {
  protected:
    void SetUp() override {
        for (const char* name : {"eins", "zwei"}) {
            temporary_.write(std::filesystem::path("Movies") / name / "source.mov", "");
            temporary_.write(std::filesystem::path("Movies") / name / capture::kJournalName, "");
        }
        beforeLaunch_ = [this](AppServices& services) {
            services.recover = [this](const std::filesystem::path& folder) {
                while (isHeld_) std::this_thread::sleep_for(std::chrono::milliseconds(1));
                if (folder == refused_) throw RecorderError("Nicht zu retten.");
                std::filesystem::remove(folder / capture::kJournalName);
                return capture::Recovery{{.duration = 3, .framesWritten = 90}, true};
            };
            services.prove = [this](const std::filesystem::path& folder, const std::stop_token&) {
                const std::lock_guard hold(lock_);
                proved_.push_back(folder.filename().string());
                return model::RecordingQuality{};
            };
        };
    }
    // Its threads use this fixture.
    void TearDown() override {
        isHeld_ = false;
        app_.reset();
    }
    std::string notice() const {
        const auto found = view_.state.notices.find(NoticeKind::interrupted);
        return found == view_.state.notices.end() ? "" : found->second.text + " [" + found->second.action + "]";
    }
    bool untilNotice(const std::string& text) {
        return loop_.runUntil([&] { return notice() == text; });
    }
    std::vector<std::string> proved() {
        const std::lock_guard hold(lock_);
        return proved_;
    }

    std::atomic<bool> isHeld_ = false;
    std::filesystem::path refused_;

  private:
    std::mutex lock_;
    std::vector<std::string> proved_;
};

TEST_F(InterruptedAtLaunch, IsCompletedWithoutBeingAskedAndProved) {
    isHeld_ = true;
    launch();
    ASSERT_TRUE(untilNotice("2 unterbrochene Aufnahmen werden abgeschlossen, zuletzt zwei []"));
    EXPECT_TRUE(app_->isCompleting(root_ / "zwei"));
    EXPECT_TRUE(view_.state.recordEnabled && view_.state.controlsEnabled) << "nobody waits for it";
    app_->completeInterrupted();
    app_->complete(root_ / "eins");
    EXPECT_TRUE(view_.state.recordEnabled) << "one at a time";
    isHeld_ = false;
    ASSERT_TRUE(untilNotice("2 unterbrochene Aufnahmen wurden abgeschlossen. [Zeigen]"));
    EXPECT_FALSE(app_->isCompleting(root_ / "zwei"));
    ASSERT_TRUE(loop_.runUntil([this] { return proved().size() == 2; }));
    EXPECT_EQ(proved(), (std::vector<std::string>{"eins", "zwei"}));
    app_->completeInterrupted();
    EXPECT_EQ(notice(), "");
    EXPECT_EQ(view_.count("showRecordings"), 1);
}

TEST_F(InterruptedAtLaunch, ARecordingMayBeginMeanwhile) {
    isHeld_ = true;
    launch();
    ASSERT_TRUE(untilNotice("2 unterbrochene Aufnahmen werden abgeschlossen, zuletzt zwei []"));
    app_->toggleRecording();
    EXPECT_EQ(view_.count("countdown 3"), 1);
    isHeld_ = false;
}

TEST_F(InterruptedAtLaunch, WhatCannotBeCompletedIsTriedAgainWithOneClick) {
    refused_ = root_ / "zwei";
    launch();
    ASSERT_TRUE(
        untilNotice("Eine unterbrochene Aufnahme wurde abgeschlossen: eins\n"
                    "Eine Aufnahme wurde unterbrochen: zwei. Nicht zu retten. [Abschließen]"));
    refused_.clear();
    app_->completeInterrupted();
    EXPECT_EQ(view_.state.status, "Schließe die unterbrochene Aufnahme ab …");
    EXPECT_FALSE(view_.state.recordEnabled);
    app_->toggleRecording();
    EXPECT_EQ(view_.count("countdown 3"), 0) << "one thing at a time";
    untilStatus("Abgeschlossen: 3.0 s, 90 Bilder\nOrdner: ");
    EXPECT_EQ(notice(), "");
    EXPECT_TRUE(view_.state.recordEnabled && view_.state.controlsEnabled);
    app_->revealFolder();
    EXPECT_EQ(view_.count("openFolder " + (root_ / "zwei").string()), 1);
}

TEST_F(InterruptedAtLaunch, AFullDiskSaysHowMuchRoomIsMissing) {
    freeSpace_ = capture::FreeSpace{1000, 1'000'000};
    std::filesystem::remove_all(root_ / "zwei");
    launch();
    ASSERT_TRUE(
        untilNotice("Eine Aufnahme wurde unterbrochen: eins. "
                    "Zum Abschließen fehlen auf dem Datenträger noch 1 MB. [Abschließen]"));
    EXPECT_TRUE(std::filesystem::exists(root_ / "eins" / capture::kJournalName)) << "nothing was touched";
    freeSpace_ = capture::FreeSpace{1'000'000, 1'000'000'000};
    app_->complete(root_ / "eins");
    untilStatus("Abgeschlossen: 3.0 s, 90 Bilder\nOrdner: ");
    EXPECT_EQ(notice(), "");
}

// End

TEST_F(AppDelegateTest, EndsAtOnceWhileNothingIsRecorded) {
    launch();
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::now);
    EXPECT_TRUE(app_->applicationShouldTerminateAfterLastWindowClosed());
}

TEST_F(AppDelegateTest, QuittingWhileACheckVideoIsWrittenAsksOnce) {
    useSlowCheckVideos();
    launch();
    app_->renderCheckVideo();
    view_.calls.clear();
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::cancel);
    EXPECT_EQ(view_.state.status, kAsked);
    EXPECT_EQ(view_.count("showMainWindow"), 1) << "where the sentence stands";
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::now);
    EXPECT_FALSE(checkVideoWasStopped_);
    app_.reset();
    EXPECT_TRUE(checkVideoWasStopped_) << "the program waits for its end";
}

TEST_F(AppDelegateTest, ASecondAttemptThatComesLateIsAFirstOne) {
    useSlowCheckVideos();
    launch();
    app_->renderCheckVideo();
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::cancel);
    loop_.advance(9);
    EXPECT_EQ(view_.state.status, kAsked);
    loop_.advance(1.5);
    EXPECT_EQ(view_.state.status, "Zeichne den Cursor auf das Video …");
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::cancel);
    checkVideoEnds_(render::CursorRenderer::Result{temporary_ / "test-output.mov", 60, 1.0});
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::now);
}

TEST_F(AppDelegateTest, ClosingTheWindowOfACheckVideoAsksOnceAndCancelsIt) {
    useSlowCheckVideos();
    launch();
    EXPECT_TRUE(app_->mainWindowShouldClose());
    app_->renderCheckVideo();
    EXPECT_FALSE(app_->mainWindowShouldClose());
    EXPECT_EQ(view_.state.status, kAsked);
    EXPECT_TRUE(app_->mainWindowShouldClose());
    ASSERT_TRUE(loop_.runUntil([this] { return checkVideoWasStopped_.load(); }));
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::now) << "it is being ended already";
    checkVideoEnds_(RecorderError("Abgebrochen."));
    EXPECT_EQ(view_.state.status, "Prüfvideo abgebrochen.");
}

TEST_F(AppDelegateTest, EditorsThatExportAreAskedToo) {
    launch();
    view_.editorsMay = false;
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::cancel);
    view_.editorsMay = true;
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::now);
}

TEST_F(AppDelegateTest, TheSystemIsNotAskedBack) {
    useSlowCheckVideos();
    launch();
    app_->renderCheckVideo();
    view_.editorsMay = false;
    EXPECT_EQ(app_->applicationShouldTerminate(AppDelegate::TerminationCause::system),
              AppDelegate::TerminateReply::now);
}

TEST_F(AppDelegateTest, WithoutItsWindowsItFinishesWhatRuns) {
    useSlowCheckVideos();
    launch();
    app_->renderCheckVideo();
    startRecording();
    view_.calls.clear();
    bool ended = false;
    NoView nobody([&] { ended = true; });
    EXPECT_EQ(app_->endWithoutWindows(nobody), AppDelegate::TerminateReply::later);
    EXPECT_TRUE(checkVideoWasStopped_);
    desktop_.emitStop(RecorderError("Der Bildschirm ist nicht mehr erreichbar."));
    ASSERT_TRUE(loop_.runUntil([&] { return ended; }));
    EXPECT_TRUE(view_.calls.empty()) << view_.calls.front();
    EXPECT_GT(model::CaptureInfo::load(root_ / "2025-03-14_09-05-33").framesWritten, 0);
}

TEST_F(AppDelegateTest, WithoutItsWindowsACountdownLeavesNoFolder) {
    launch();
    app_->toggleRecording();
    untilCalled("countdown 3");
    EXPECT_TRUE(std::filesystem::exists(root_ / "2025-03-14_09-05-33"));
    NoView nobody([] {});
    EXPECT_EQ(app_->endWithoutWindows(nobody), AppDelegate::TerminateReply::now);
    EXPECT_FALSE(std::filesystem::exists(root_ / "2025-03-14_09-05-33"));
}

TEST_F(AppDelegateTest, WhatHappensOnceAfterTheStartLeavesNoTimer) {
    launch({.openEditor = "/videos/a", .chooseRecording = true, .testRegion = true});
    EXPECT_EQ(loop_.timers(), 3U);
    loop_.advance(3.5);
    EXPECT_EQ(loop_.timers(), 1U) << "that of the region's panel";
    loop_.advance(3);
    EXPECT_EQ(loop_.timers(), 0U);
}

TEST_F(AppDelegateTest, ASecondStartLeavesTheChoiceOfARegionAndTheCountdownInPeace) {
    launch();
    app_->sourceTypeChanged(SourceType::region);
    app_->toggleRecording();
    const auto expectNothing = [this](const char* when) {
        view_.calls.clear();
        app_->applicationShouldHandleReopen(false);
        app_->newRecording();
        EXPECT_EQ(view_.count("showMainWindow"), 0) << when;
    };
    expectNothing("arming");
    app_->regionArmProceed();
    expectNothing("picking");
    view_.regionCompletion(Rect{0, 0, 100, 100});
    untilCalled("countdown 3");
    expectNothing("countdown");
}

TEST_F(AppDelegateTest, AnEditorLeadsBackToTheMainWindow) {
    launch();
    view_.calls.clear();
    app_->newRecording();
    EXPECT_EQ(view_.calls, (std::vector<std::string>{"showMainWindow"}));
}

TEST_F(AppDelegateTest, ASecondStartBringsAHiddenWindowBack) {
    launch();
    app_->applicationShouldHandleReopen(true);
    EXPECT_EQ(view_.count("showMainWindow"), 1);
    app_->applicationShouldHandleReopen(false);
    EXPECT_EQ(view_.count("showMainWindow"), 2);
}

}  // namespace
}  // namespace lumivastor::app
