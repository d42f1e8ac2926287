// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/recording_flow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <new>
#include <thread>

#include "model/capture_info.h"
#include "model/marks.h"
#include "model/pointer_track.h"
#include "support/app_rig.h"
#include "support/await.h"

namespace lumivastor::app {
namespace {

class RecordingFlowTest : public AppRig {
  protected:
    // What the view was asked for from `first` on, without repetitions of titles and times.
    std::vector<std::string> callsFrom(const std::string& first) const {
        const auto from = std::find(view_.calls.begin(), view_.calls.end(), first);
        return {from, view_.calls.end()};
    }
    std::shared_ptr<synthetic::SyntheticDevice> useCamera() {
        auto camera = std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
        devices_.setDefaultCamera(camera);
        return camera;
    }

    const std::filesystem::path recording_ = root_ / "2025-03-14_09-05-33";
};

TEST_F(RecordingFlowTest, RecordsADisplayFromTheClickToTheEditor) {
    launch();
    app_->sourceSelected(1);
    app_->fpsSelected(1);
    app_->systemAudioToggled(true);
    startRecording();
    EXPECT_EQ(callsFrom("countdown 3"),
              (std::vector<std::string>{"countdown 3", "countdown 2", "countdown 1", "hideCountdown", "hideCamera",
                                        "hideMainWindow", "install ⏺ 0:00", "panel rechts"}));
    const auto filter = std::get<platform::DisplayFilter>(*desktop_.filter());
    EXPECT_EQ(filter.display.name, "rechts");
    ASSERT_EQ(filter.excludedApplications.size(), 1U);
    EXPECT_EQ(filter.excludedApplications[0].processId, 44);
    EXPECT_TRUE(desktop_.hasSystemAudioOutput());
    EXPECT_FALSE(desktop_.hasMicrophoneOutput());
    EXPECT_NEAR(desktop_.configuration()->minimumFrameInterval, 1.0 / 30, 1e-9);
    EXPECT_EQ(sleep_.holds, 1);

    // Again and again from other windows' sight: the panel and the item count on, the status tells the figures.
    loop_.advance(61.5);
    EXPECT_EQ(view_.count("title ⏺ 1:01"), view_.count("time 1:01"));
    EXPECT_GE(view_.count("time 1:01"), 1);
    EXPECT_TRUE(view_.state.status.starts_with("Läuft: 61.")) << view_.state.status;
    EXPECT_NE(view_.state.status.find(" · 0 verworfen · "), std::string::npos);

    stopRecording();
    EXPECT_EQ(callsFrom("removeStatusItem"),
              (std::vector<std::string>{"removeStatusItem", "removePanel", "showMainWindow",
                                        "editor " + recording_.string()}));
    EXPECT_TRUE(view_.state.status.starts_with("Fertig: ")) << view_.state.status;
    EXPECT_TRUE(view_.state.status.ends_with("\nOrdner: " + recording_.string()));
    EXPECT_EQ(view_.state.recordTitle, "Aufnahme starten");
    EXPECT_TRUE(view_.state.recordEnabled && view_.state.controlsEnabled);
    EXPECT_EQ(sleep_.holds, 0);
    EXPECT_EQ(model::CaptureInfo::load(recording_).sourceKind, "display");
    EXPECT_EQ(model::CaptureInfo::load(recording_).fps, 30);
    EXPECT_FALSE(std::filesystem::exists(recording_ / "project.json"));
}

TEST_F(RecordingFlowTest, ARecordingOfLessThanASecondShowsNoughtAndFinishes) {
    launch();
    startRecording();
    loop_.advance(0.6);
    EXPECT_EQ(view_.count("title ⏺ 0:00"), 1);
    stopRecording();
    EXPECT_TRUE(view_.state.status.starts_with("Fertig: ")) << view_.state.status;
}

TEST_F(RecordingFlowTest, LostPicturesAreSaidWhileTheyAreLostAndAfterwards) {
    launch();
    startRecording();
    loop_.advance(8);
    EXPECT_EQ(view_.count("hint "), 0);
    for (int lost = 2; lost <= 8; lost += 2) {
        desktop_.setPicturesMissed(lost);
        loop_.advance(0.5);
    }
    const std::string sentence =
        "Der Desktop liefert Bilder zu langsam, Bewegung kann ruckeln. Es hilft, anderes zu beenden oder mit 30 "
        "Bildern "
        "pro Sekunde aufzunehmen.";
    EXPECT_EQ(view_.count("hint " + sentence), 1);
    EXPECT_TRUE(logged("[Capture] Hinweis: " + sentence));
    loop_.advance(6);
    EXPECT_EQ(view_.count("hint "), 1) << "all is well again";
    EXPECT_EQ(view_.state.notices.count(NoticeKind::recording), 0U);
    stopRecording();
    EXPECT_EQ(view_.state.notices.at(NoticeKind::recording).text,
              "Ab 0:08 lieferte der Desktop 2 s lang Bilder zu langsam, Bewegung kann ruckeln.");
}

TEST_F(RecordingFlowTest, TheSpaceThatIsLeftIsSaidInMinutes) {
    launch();
    startRecording();
    // Ten megabytes a second; the file has no content and takes no space here.
    std::ofstream(recording_ / "webcam.mov");
    std::filesystem::resize_file(recording_ / "webcam.mov", 100'000'000);
    loop_.advance(10);
    EXPECT_EQ(view_.count("hint Noch Platz für etwa 2 Minuten."), 0);
    freeSpace_ = capture::FreeSpace{1'500'000'000, 2'000'000'000};
    loop_.advance(0.5);
    EXPECT_EQ(view_.count("hint Noch Platz für etwa 2 Minuten."), 1);
    freeSpace_ = capture::FreeSpace{1'500'000'000'000, 2'000'000'000'000};
    loop_.advance(0.5);
    EXPECT_EQ(view_.calls.back(), "hint ");
    EXPECT_EQ(view_.count("hint "), 1);
    stopRecording();
    EXPECT_EQ(view_.state.notices.count(NoticeKind::recording), 0U);
}

TEST_F(RecordingFlowTest, RecordsAWindow) {
    launch();
    app_->sourceTypeChanged(SourceType::window);
    app_->sourceSelected(1);
    startRecording();
    EXPECT_EQ(std::get<platform::WindowFilter>(*desktop_.filter()).window.id, 77U);
    EXPECT_EQ(view_.count("panel rechts"), 1);
    stopRecording();
    EXPECT_EQ(model::CaptureInfo::load(recording_).sourceKind, "window");
}

TEST_F(RecordingFlowTest, TheSecondsOfTheCountdownAreCounted) {
    launch();
    app_->toggleRecording();
    EXPECT_EQ(view_.count("countdown 3"), 1);
    EXPECT_FALSE(view_.state.recordEnabled);
    EXPECT_FALSE(view_.state.controlsEnabled);
    app_->toggleRecording();
    loop_.advance(0.99);
    EXPECT_EQ(view_.count("countdown 2"), 0);
    loop_.advance(0.01);
    EXPECT_EQ(view_.count("countdown 2"), 1);
    loop_.advance(1.99);
    EXPECT_EQ(view_.state.status, "Bereit. 2 Bildschirm(e) gefunden.");
    EXPECT_EQ(view_.count("hideCountdown"), 0);
    loop_.advance(0.01);
    EXPECT_EQ(view_.count("hideCountdown"), 1);
    EXPECT_EQ(view_.count("countdown 3"), 1) << "the second click did nothing";
}

// Auto-zoom box

TEST_F(RecordingFlowTest, ACountdownCanBeCancelled) {
    launch();
    for (const bool isByKey : {true, false}) {
        app_->toggleRecording();
        untilCalled("countdown 3");
        ASSERT_TRUE(pressKeys_[platform::kEscapeKey]);
        if (isByKey) {
            pressKeys_[platform::kEscapeKey]();
            loop_.runPending();
        } else {
            app_->cancelCountdown();
        }
        EXPECT_EQ(view_.count("hideCountdown"), 1);
        EXPECT_EQ(view_.state.status, "Aufnahme abgebrochen.");
        EXPECT_TRUE(view_.state.recordEnabled && view_.state.controlsEnabled);
        EXPECT_FALSE(pressKeys_[platform::kEscapeKey]) << "the key is free again";
        loop_.advance(5);
        EXPECT_EQ(view_.state.status, "Aufnahme abgebrochen.") << "nothing starts";
        EXPECT_TRUE(std::filesystem::is_empty(root_));
        view_.calls.clear();
    }
    app_->cancelCountdown();
    startRecording();
    stopRecording();
}

TEST_F(RecordingFlowTest, TheCountdownIsAsLongAsChosenAndRemembered) {
    launch();
    EXPECT_EQ(view_.state.choices.countdownSeconds(), 3);
    app_->countdownSelected(2);
    EXPECT_EQ(preferences_.countdown, 5);
    app_->toggleRecording();
    untilCalled("countdown 5");
    app_->cancelCountdown();
    preferences_.countdown = 10;
    launch();
    EXPECT_EQ(view_.state.choices.countdownSeconds(), 10);
    preferences_.countdown = 7;
    launch();
    EXPECT_EQ(view_.state.choices.countdownSeconds(), 3) << "no length that is offered";
    app_->countdownSelected(0);
    view_.calls.clear();
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme stoppen"; }));
    EXPECT_EQ(view_.count("hideCountdown"), 0);
    emitPicture();
    stopRecording();
}

TEST_F(RecordingFlowTest, ARecordingIsPausedAndGoesOn) {
    launch();
    startRecording();
    loop_.advance(1);
    EXPECT_TRUE(view_.state.status.starts_with("Läuft: 1.0 s")) << view_.state.status;
    app_->togglePause();
    EXPECT_EQ(view_.count("paused"), 1);
    loop_.advance(10);
    EXPECT_EQ(view_.state.status, "Pause bei 1.0 s");
    EXPECT_EQ(view_.calls.back(), "time 0:01");
    EXPECT_EQ(view_.count("title ⏸ 0:01") > 0, true);
    pressKeys_['P']();
    loop_.runPending();
    EXPECT_EQ(view_.count("resumed"), 1);
    loop_.advance(1);
    EXPECT_TRUE(view_.state.status.starts_with("Läuft: 2.0 s")) << view_.state.status;
    emitPicture();
    pressKeys_['P']();
    loop_.runPending();
    EXPECT_EQ(view_.count("paused"), 2);
    stopRecording();
    EXPECT_TRUE(view_.state.status.starts_with("Fertig: 2.0 s")) << view_.state.status;
    EXPECT_FALSE(pressKeys_['P']);
    app_->togglePause();
    EXPECT_EQ(view_.count("paused"), 2) << "nothing runs";
}

TEST_F(RecordingFlowTest, MarksAreSetByButtonAndKey) {
    launch();
    app_->setMark();
    startRecording();
    loop_.advance(1);
    app_->setMark();
    loop_.advance(1);
    pressKeys_['M']();
    loop_.runPending();
    EXPECT_EQ(view_.count("marks 1"), 1);
    EXPECT_EQ(view_.count("marks 2"), 1);
    loop_.advance(1);
    emitPicture();
    stopRecording();
    const auto folder = std::filesystem::directory_iterator(root_)->path();
    EXPECT_EQ(model::Marks::timesIn(folder), (std::vector<double>{1, 2}));
}

TEST_F(RecordingFlowTest, WithoutAutomaticZoomsTheEditorFindsThemSwitchedOff) {
    launch();
    app_->autoZoomToggled(false);
    std::string documentWhenOpened;
    view_.onOpenEditor = [&](const std::filesystem::path&) {
        documentWhenOpened = temporary_.read("Movies/2025-03-14_09-05-33/project.json");
    };
    startRecording();
    stopRecording();
    EXPECT_EQ(documentWhenOpened, "{\"zoomScale\": 1.0}");
    EXPECT_TRUE(logged("[Editor] Voreinstellung: Aufnahme ohne automatische Zooms"));
}

TEST_F(RecordingFlowTest, AProjectThatIsThereAlreadyIsLeftAlone) {
    launch();
    app_->autoZoomToggled(false);
    startRecording();
    temporary_.write("Movies/2025-03-14_09-05-33/project.json", "{\"zoomScale\": 2.0}");
    stopRecording();
    EXPECT_EQ(temporary_.read("Movies/2025-03-14_09-05-33/project.json"), "{\"zoomScale\": 2.0}");
}

// Permissions

TEST_F(RecordingFlowTest, ARefusedMicrophoneNeverStartsTheCountdown) {
    sound_.failStarts(synthetic::SyntheticSoundSystem::Kind::microphone, "Kein Zugriff.");
    launch();
    app_->microphoneToggled(true);
    app_->toggleRecording();
    untilStatus("Ohne Mikrofonberechtigung");
    EXPECT_EQ(view_.state.status,
              "Ohne Mikrofonberechtigung geht das nicht. Entweder erlauben oder den Haken entfernen.");
    loop_.advance(5);
    EXPECT_EQ(view_.count("countdown 3"), 0);
    EXPECT_TRUE(view_.state.recordEnabled && view_.state.controlsEnabled);
    EXPECT_FALSE(std::filesystem::exists(root_));
    // As the status says: without the tick it goes.
    app_->microphoneToggled(false);
    startRecording();
    stopRecording();
}

TEST_F(RecordingFlowTest, AMissingMicrophoneIsARefusal) {
    sound_.setDefaultMicrophone(std::nullopt);
    launch();
    app_->microphoneToggled(true);
    app_->toggleRecording();
    untilStatus("Ohne Mikrofonberechtigung");
}

TEST_F(RecordingFlowTest, ARefusedCameraNeverStartsTheCountdown) {
    const auto camera = useCamera();
    launch();
    app_->webcamToggled(true);
    untilCalled("showCamera");
    app_->webcamToggled(false);
    camera->failOpens("Belegt.");
    // The box without its preview, as after an error of the preview.
    app_->window().update([](MainWindowState& state) { state.choices.webcam = true; });
    app_->toggleRecording();
    untilStatus("Ohne Kameraberechtigung");
    EXPECT_EQ(view_.state.status, "Ohne Kameraberechtigung keine Facecam. Entweder erlauben oder den Haken entfernen.");
    loop_.advance(5);
    EXPECT_EQ(view_.count("countdown 3"), 0);
}

TEST_F(RecordingFlowTest, MicrophoneAndCameraAreRecordedOnceTheyAreAllowed) {
    const auto camera = useCamera();
    launch();
    app_->microphoneToggled(true);
    app_->webcamToggled(true);
    untilCalled("showCamera");
    startRecording();
    EXPECT_TRUE(desktop_.hasMicrophoneOutput());
    EXPECT_EQ(view_.count("hideCamera"), 1) << "the recorder has the camera to itself";
    EXPECT_NE(view_.panelPreview, nullptr);
    ASSERT_TRUE(loop_.runUntil([&] { return camera->isRunning(); }));
    EXPECT_TRUE(camera->emitPicture(loop_.now()));
    view_.calls.clear();
    stopRecording();
    untilCalled("showCamera");
    EXPECT_EQ(model::CaptureInfo::load(recording_).webcamFile, "webcam.mov");
    EXPECT_TRUE(model::CaptureInfo::load(recording_).microphone);
}

// Regions

TEST_F(RecordingFlowTest, RecordsARegionThatWasPicked) {
    launch();
    app_->sourceTypeChanged(SourceType::region);
    app_->sourceSelected(1);
    app_->toggleRecording();
    EXPECT_EQ(callsFrom("hideMainWindow"), (std::vector<std::string>{"hideMainWindow", "arm rechts"}));
    EXPECT_FALSE(app_->applicationShouldTerminateAfterLastWindowClosed());
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::now);
    loop_.advance(60);
    EXPECT_EQ(view_.count("pick rechts"), 0) << "the user takes the time that it takes";
    app_->regionArmProceed();
    EXPECT_EQ(callsFrom("closeArm"), (std::vector<std::string>{"closeArm", "pick rechts"}));
    view_.regionCompletion(Rect{10, 20, 100.4, 80});
    EXPECT_EQ(view_.state.status, "Ausschnitt: 100 × 80 Punkte");
    loop_.advance(3);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme stoppen"; }));
    EXPECT_EQ(desktop_.configuration()->sourceRect, (Rect{10, 20, 100.4, 80}));
    emitPicture();
    stopRecording();
    EXPECT_EQ(model::CaptureInfo::load(recording_).sourceKind, "region");
    const std::vector<std::string> expected = {"[Region] Fluss gestartet: Fenster weg, App tritt zurück",
                                               "[Region] Bereit-Feld angezeigt",
                                               "[Region] Nutzer bereit, zeige Overlay"};
    auto lines = log();
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("[Region]"); });
    EXPECT_EQ(lines, expected);
}

TEST_F(RecordingFlowTest, CancellingARegionBringsTheWindowBack) {
    launch();
    app_->sourceTypeChanged(SourceType::region);
    for (const bool onPanel : {true, false}) {
        view_.calls.clear();
        app_->toggleRecording();
        if (onPanel) {
            app_->regionArmCancel();
        } else {
            app_->regionArmProceed();
            view_.regionCompletion(std::nullopt);
        }
        EXPECT_EQ(view_.state.status, "Ausschnitt-Auswahl abgebrochen.");
        EXPECT_EQ(view_.count("closeArm"), 1);
        EXPECT_EQ(view_.calls.back(), "showMainWindow");
        EXPECT_TRUE(app_->applicationShouldTerminateAfterLastWindowClosed());
        app_->refreshSources();
        untilStatus("Bereit.");
    }
    EXPECT_FALSE(std::filesystem::exists(root_));
}

TEST_F(RecordingFlowTest, ADisplayWithoutAScreenHasNoRegions) {
    launch();
    app_->sourceTypeChanged(SourceType::region);
    view_.screens = {"rechts"};
    app_->toggleRecording();
    EXPECT_EQ(view_.state.status, "Bildschirm nicht gefunden.");
    EXPECT_EQ(view_.count("hideMainWindow"), 0);
}

// Devices

TEST_F(RecordingFlowTest, RecordsADevice) {
    const auto phone =
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"iphone", "iPhone von Ada", true, 0});
    devices_.addExternalDevice(phone);
    launch();
    app_->sourceTypeChanged(SourceType::device);
    EXPECT_EQ(view_.state.sourceItems, (std::vector<std::string>{"iPhone von Ada"}));
    app_->toggleRecording();
    untilCalled("countdown 3");
    loop_.advance(3);
    untilCalled("panel main screen");
    ASSERT_TRUE(loop_.runUntil([&] { return phone->isRunning(); }));
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.notices.count(NoticeKind::recording) == 1; }));
    EXPECT_EQ(view_.state.notices.at(NoticeKind::recording).text,
              "„iPhone von Ada“ liefert keinen eigenen Ton. Aufgenommen wird nur das Bild.");
    EXPECT_TRUE(phone->emitPicture(loop_.now()));
    // The device's clock begins with its first picture, which is on its way on a queue of its own.
    ASSERT_TRUE(loop_.runUntil([this] {
        const auto lines = log();
        return std::any_of(lines.begin(), lines.end(),
                           [](const std::string& line) { return line.starts_with("[Device] Zeitbasis"); });
    }));
    for (int i = 0; i < 4; ++i) {
        loop_.advance(0.5);
        EXPECT_TRUE(phone->emitPicture(loop_.now()));
    }
    EXPECT_TRUE(view_.state.status.starts_with("Läuft: ")) << view_.state.status;
    EXPECT_TRUE(view_.state.status.ends_with(" Bilder (iPhone von Ada)")) << view_.state.status;
    EXPECT_EQ(view_.count("title ⏺ 0:01"), 2);
    stopRecording();
    EXPECT_EQ(view_.state.status, "Fertig: 2.0 s, 5 Bilder");
    EXPECT_EQ(view_.count("editor " + recording_.string()), 1);
}

TEST_F(RecordingFlowTest, ADeviceThatRefusesIsTold) {
    const auto phone =
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"iphone", "iPhone", true, 0});
    phone->failOpens("Gesperrt.");
    devices_.addExternalDevice(phone);
    launch();
    app_->sourceTypeChanged(SourceType::device);
    app_->toggleRecording();
    untilStatus("Die Geraete-Aufnahme");
    EXPECT_EQ(view_.state.status,
              "Die Geraete-Aufnahme braucht die Kamera-Berechtigung (so meldet sich das iPhone am Mac).");
    EXPECT_EQ(view_.count("countdown 3"), 0);
}

// What goes wrong

TEST_F(RecordingFlowTest, ACameraThatIsSlowToOpenIsShown) {
    const auto camera = useCamera();
    launch();
    app_->webcamToggled(true);
    untilCalled("showCamera");
    std::promise<void> release;
    camera->holdOpens(release.get_future().share());
    app_->toggleRecording();
    untilCalled("countdown 3");
    loop_.advance(3);
    EXPECT_EQ(view_.state.status, "Starte …");
    ASSERT_TRUE(await(30, [this] {
        loop_.advance(0.5);
        return view_.state.status == "Öffne die Kamera …";
    })) << view_.state.status;
    EXPECT_EQ(view_.count("hideMainWindow"), 0);
    release.set_value();
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme stoppen"; }));
    emitPicture();
    stopRecording();
    EXPECT_TRUE(view_.state.status.starts_with("Fertig: ")) << view_.state.status;
    for (const auto thread : camera->stoppedOn()) EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_F(RecordingFlowTest, WhatIsSlowToOpenBeforeTheCountdownIsShown) {
    const auto phone =
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"iphone", "iPhone von Ada", true, 0});
    devices_.addExternalDevice(phone);
    launch();
    app_->sourceTypeChanged(SourceType::device);
    const std::string before = view_.state.status;
    std::promise<void> release;
    phone->holdOpens(release.get_future().share());
    app_->toggleRecording();
    EXPECT_EQ(view_.state.status, before) << "not yet";
    loop_.advance(0.6);
    EXPECT_EQ(view_.state.status, "Öffne „iPhone von Ada“ …");
    release.set_value();
    untilCalled("countdown 3");
    EXPECT_EQ(view_.state.status, before);
}

TEST_F(RecordingFlowTest, APreviewThatIsSlowToOpenIsShown) {
    const auto camera = useCamera();
    launch();
    const std::string before = view_.state.status;
    for (const bool opens : {true, false}) {
        std::promise<void> release;
        camera->holdOpens(release.get_future().share());
        app_->webcamToggled(true);
        loop_.advance(0.6);
        EXPECT_EQ(view_.state.status, "Öffne die Kamera …");
        if (opens) {
            release.set_value();
            untilCalled("showCamera");
        }
        app_->webcamToggled(false);
        EXPECT_EQ(view_.state.status, before);
        if (!opens) release.set_value();
    }
    EXPECT_EQ(loop_.timers(), 0U);
}

TEST_F(RecordingFlowTest, AFailedStartBringsEverythingBack) {
    desktop_.failStart(RecorderError("Kein Bild zu bekommen."));
    launch();
    app_->toggleRecording();
    view_.calls.clear();
    loop_.advance(3);
    EXPECT_EQ(view_.state.status, "Starte …");
    untilStatus("Start fehlgeschlagen");
    EXPECT_EQ(view_.state.status, "Start fehlgeschlagen: Kein Bild zu bekommen.");
    EXPECT_TRUE(logged("[Capture] Start fehlgeschlagen: Kein Bild zu bekommen."));
    EXPECT_EQ(view_.calls.back(), "showMainWindow");
    EXPECT_TRUE(view_.state.recordEnabled && view_.state.controlsEnabled);
    EXPECT_TRUE(app_->applicationShouldTerminateAfterLastWindowClosed());
    EXPECT_FALSE(std::filesystem::exists(recording_)) << "an empty folder stays behind";
}

TEST_F(RecordingFlowTest, ARootThatCannotBeMadeIsAFailedStart) {
    temporary_.write("Movies", "a file in the way");
    launch();
    app_->toggleRecording();
    EXPECT_TRUE(view_.state.status.starts_with("Start fehlgeschlagen: Der Ordner für Aufnahmen")) << view_.state.status;
    EXPECT_EQ(view_.count("countdown 3"), 0);
    EXPECT_TRUE(view_.state.recordEnabled);
}

TEST_F(RecordingFlowTest, AStreamThatEndsByItselfIsFinishedAndExplained) {
    launch();
    startRecording();
    desktop_.emitStop(RecorderError("Das Fenster wurde geschlossen."));
    untilStatus("Fertig: ");
    const auto said = [this](const std::string& status) {
        return std::find(view_.statuses.begin(), view_.statuses.end(), status) != view_.statuses.end();
    };
    EXPECT_TRUE(said("Die Aufnahme wurde vom System beendet: Das Fenster wurde geschlossen."));
    EXPECT_TRUE(said("Schließe die Datei ab …"));
    EXPECT_EQ(view_.state.notices.at(NoticeKind::recording).text,
              "Die Aufnahme wurde vom System beendet: Das Fenster wurde geschlossen.");
    EXPECT_EQ(view_.count("editor " + recording_.string()), 1);
    // Not told again with the next one.
    startRecording();
    EXPECT_TRUE(view_.state.notices.empty());
    stopRecording();
}

TEST_F(RecordingFlowTest, ARecordingWithoutAnyPictureIsAnError) {
    launch();
    app_->toggleRecording();
    loop_.advance(3);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme stoppen"; }));
    stopRecording();
    EXPECT_EQ(view_.state.status,
              "Fehler beim Abschließen: Es wurde kein einziges Bild aufgenommen. Fehlt die Berechtigung für die "
              "Bildschirmaufnahme?");
    EXPECT_TRUE(view_.state.recordEnabled && view_.state.controlsEnabled);
}

// Ways to stop

TEST_F(RecordingFlowTest, TheShortcutStops) {
    launch();
    EXPECT_FALSE(pressShortcut_);
    startRecording();
    EXPECT_EQ(view_.panelHasShortcut, true);
    ASSERT_TRUE(pressShortcut_);
    pressShortcut_();
    untilStatus("Fertig: ");
    EXPECT_FALSE(pressShortcut_) << "others may use it again";
}

TEST_F(RecordingFlowTest, AnotherProcessStops) {
    launch();
    EXPECT_FALSE(stopFromOutside_);
    startRecording();
    ASSERT_TRUE(stopFromOutside_);
    stopFromOutside_();
    untilStatus("Fertig: ");
    EXPECT_FALSE(stopFromOutside_);
}

TEST_F(RecordingFlowTest, AShortcutThatSomebodyElseHasIsDoneWithout) {
    shortcutIsTaken_ = true;
    launch();
    startRecording();
    EXPECT_EQ(view_.panelHasShortcut, false) << "nothing is promised";
    stopRecording();
    EXPECT_TRUE(view_.state.status.starts_with("Fertig: "));
}

TEST_F(RecordingFlowTest, TheRecordButtonStops) {
    launch();
    startRecording();
    app_->toggleRecording();
    untilStatus("Fertig: ");
}

TEST_F(RecordingFlowTest, StoppingTwiceStopsOnce) {
    launch();
    startRecording();
    app_->stopFromStatusItem();
    app_->stopFromStatusItem();
    untilStatus("Fertig: ");
    EXPECT_EQ(view_.count("removeStatusItem"), 1);
    EXPECT_EQ(view_.count("editor " + recording_.string()), 1);
}

// Quitting

TEST_F(RecordingFlowTest, QuittingWhileRecordingFinishesTheFolderFirst) {
    launch();
    startRecording();
    EXPECT_FALSE(app_->applicationShouldTerminateAfterLastWindowClosed());
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::later);
    EXPECT_EQ(view_.count("terminate"), 0);
    untilCalled("terminate");
    EXPECT_GT(model::CaptureInfo::load(recording_).framesWritten, 0);
    EXPECT_EQ(view_.count("editor " + recording_.string()), 0);
    EXPECT_EQ(view_.state.status, "Schließe die Datei ab …");
}

TEST_F(RecordingFlowTest, QuittingAgainWhileItFinishesWaits) {
    launch();
    startRecording();
    app_->stopFromStatusItem();
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::later);
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::later);
    untilCalled("terminate");
    EXPECT_EQ(view_.count("terminate"), 1);
}

TEST_F(RecordingFlowTest, QuittingWhileItStartsEndsWhatWasStarted) {
    desktop_.atStart([this] { desktop_.emitScreen({platform::FrameStatus::started, 1003, picture(320, 240)}); });
    launch();
    app_->toggleRecording();
    loop_.advance(3);
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::later);
    untilCalled("terminate");
    EXPECT_EQ(view_.count("install ⏺ 0:00"), 0);
    EXPECT_GT(model::CaptureInfo::load(recording_).framesWritten, 0);
}

TEST_F(RecordingFlowTest, QuittingWhileAStartFailsEndsToo) {
    desktop_.failStart(RecorderError("Kein Bild."));
    launch();
    app_->toggleRecording();
    loop_.advance(3);
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::later);
    untilCalled("terminate");
}

TEST_F(RecordingFlowTest, QuittingDuringTheCountdownLeavesNoFolder) {
    launch();
    app_->toggleRecording();
    loop_.advance(1);
    EXPECT_TRUE(std::filesystem::exists(recording_));
    EXPECT_EQ(app_->applicationShouldTerminate(), AppDelegate::TerminateReply::now);
    app_.reset();
    EXPECT_FALSE(std::filesystem::exists(recording_));
}

TEST_F(RecordingFlowTest, ASecondStartLeavesARecordingInPeace) {
    launch();
    startRecording();
    view_.calls.clear();
    app_->applicationShouldHandleReopen(false);
    EXPECT_TRUE(view_.calls.empty());
    stopRecording();
}

TEST_F(RecordingFlowTest, AListThatComesLateDoesNotTalkOverTheCountdown) {
    launch();
    auto fewer = appContent();
    fewer.displays.pop_back();
    desktop_.setContent(fewer);
    app_->refreshSources();
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.sourceItems.size() == 1; }));
    loop_.advance(3);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme stoppen"; }));
    EXPECT_FALSE(view_.state.status.starts_with("Bereit."));
}

}  // namespace
}  // namespace lumivastor::app
