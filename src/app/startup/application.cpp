// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/startup/application.h"

#include <QApplication>
#include <QDesktopServices>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QSettings>
#include <QTranslator>
#include <clocale>
#include <iostream>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "app/app_delegate.h"
#include "app/library/recording_library.h"
#include "app/library/trash.h"
#include "app/no_view.h"
#include "app/session/abrupt_end.h"
#include "app/session/dbus_sleep_inhibitor.h"
#include "app/session/power_supply.h"
#include "app/session/single_instance.h"
#include "app/session/stored_preferences.h"
#include "app/session/termination_signals.h"
#include "app/updates/updater.h"
#include "app/windows/app_windows.h"
#include "base/host_clock.h"
#include "base/log.h"
#include "capture/recordings_root.h"
#include "editor/editor_windows.h"
#include "editor/exports/export_queue.h"
#include "media/encoder_choice/encoder_choice.h"
#include "model/look.h"
#include "platform/backends/desktop_backend.h"
#include "platform/backends/desktop_choice.h"
#include "platform/backends/device_backend.h"
#include "platform/backends/device_watch.h"
#include "platform/backends/sound_backend.h"
#include "platform/selected_camera.h"
#include "platform/sound/selected_sound.h"
#include "platform/sound/sound_output.h"
#include "ui/qt_main_loop.h"
#include "ui/theme.h"

namespace lumivastor::app {

namespace {

constexpr platform::KeyCombination kStopKeys{.letter = 'S', .control = true, .alt = true, .shift = true};

/// The machine's services that the application uses.
struct Machine {
    std::shared_ptr<platform::DeviceSelection> selection = std::make_shared<platform::DeviceSelection>();
    std::shared_ptr<platform::SoundBoard> soundBoard = std::make_shared<platform::SoundBoard>();
    std::shared_ptr<platform::SoundSystem> sound =
        std::make_shared<platform::SelectedSound>(platform::openSoundSystem(), selection, soundBoard);
    std::unique_ptr<platform::CaptureDevices> devices = std::make_unique<platform::SelectedCamera>(
        platform::openCaptureDevices(sound, platform::deviceAddressesFromEnvironment(), selection), selection);
    /// Throws `RecorderError` without a display server, where Qt would end the program.
    std::unique_ptr<platform::Desktop> desktop = platform::openDesktop(sound);

    bool isWayland() const { return desktop->contentPicker() != nullptr; }
};

std::unique_ptr<platform::GlobalShortcut> grabShortcut(platform::Desktop& desktop,
                                                       const platform::ShortcutRequest& request,
                                                       std::function<void()> pressed, std::stop_token stop) {
    try {
        return desktop.grabShortcut(request, std::move(pressed), std::move(stop));
    } catch (const RecorderError& error) {
        Log::write("Capture", error.message());
        return nullptr;
    }
}

/// The command line for the toolkit: its windows go where the recordings come from. Outlives the QApplication.
struct ToolkitArguments {
    ToolkitArguments(char* program, bool isWayland) : words{program} {
        if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) return;
        words[1] = option;
        words[2] = isWayland ? waylandFirst : x11;
        count = 3;
    }

    char option[10] = "-platform";
    char waylandFirst[12] = "wayland;xcb";
    char x11[4] = "xcb";
    char* words[4];
    int count = 1;
};

// Translates Qt's own texts, such as the file panel's.
void translate(QApplication& application) {
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    auto* translator = new QTranslator(&application);
    if (translator->load("qtbase_de", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(translator);
    }
}

/// The updater together with its notices in the main window.
class Updates {
  public:
    explicit Updates(const std::filesystem::path& binaryFolder) {
        if (const auto feed = installedFeed(binaryFolder)) updater_ = std::make_unique<Updater>(*feed, LUMI_VERSION);
    }

    bool exist() const { return updater_ != nullptr; }

    /// `quietly`: reports only a new version.
    void check(MainWindowModel& window, bool quietly) {
        if (!updater_) return;
        updater_->check([this, &window, quietly](const Updater::Outcome& outcome) {
            newer_ = outcome.newer;
            if (newer_) {
                window.update([&](MainWindowState& state) {
                    state.notices[NoticeKind::update] = {"LumiVastor " + newer_->version + " ist verfügbar.",
                                                         "Herunterladen"};
                });
            } else if (!quietly) {
                window.setStatus(outcome.error.empty() ? "LumiVastor ist auf dem neuesten Stand." : outcome.error);
            }
        });
    }

    void open() const {
        if (newer_) QDesktopServices::openUrl(QUrl(QString::fromStdString(newer_->url)));
    }

  private:
    std::unique_ptr<Updater> updater_;
    std::optional<Release> newer_;
};

constexpr const char* kExportFolder = "exportFolder";

std::filesystem::path loadExportFolder() {
    const QSettings settings(QSettings::IniFormat, QSettings::UserScope, "LumiVastor", "LumiVastor");
    return settings.value(kExportFolder).toString().toStdString();
}

void keepExportFolder(const std::filesystem::path& folder) {
    QSettings(QSettings::IniFormat, QSettings::UserScope, "LumiVastor", "LumiVastor")
        .setValue(kExportFolder, QString::fromStdString(folder.string()));
}

constexpr const char* kRecordingOrder = "recordingOrder";

RecordingOrder loadRecordingOrder() {
    const QSettings settings(QSettings::IniFormat, QSettings::UserScope, "LumiVastor", "LumiVastor");
    return recordingOrderNamed(settings.value(kRecordingOrder).toString().toStdString());
}

void keepRecordingOrder(RecordingOrder order) {
    QSettings(QSettings::IniFormat, QSettings::UserScope, "LumiVastor", "LumiVastor")
        .setValue(kRecordingOrder, QString::fromStdString(std::string(recordingOrderName(order))));
}

// Finishes the recording, ends exports and saves edits after the display server has taken all windows with it.
void endWithoutWindows(AppDelegate& app, editor::EditorWindows& editors, ui::QtMainLoop& loop) {
    bool ended = false;
    NoView nobody([&] { ended = true; });
    ended = app.endWithoutWindows(nobody) == AppDelegate::TerminateReply::now;
    editors.endWork();
    loop.runDetached([&] { return ended; });
}

int run(const CommandSwitches& switches, TerminationSignals& signals, Machine& machine) {
    const char* const display = machine.isWayland() ? "WAYLAND_DISPLAY" : "DISPLAY";
    SingleInstance instance(instanceFolder(), instanceName(qEnvironmentVariable(display)));
    if (!instance.isFirst()) {
        if (instance.handOver({switches.openEditor, switches.chooseRecording})) return 0;
        std::cerr << "LumiVastor läuft schon, antwortet aber nicht.\n";
        return 1;
    }

    ui::QtMainLoop loop;
    StoredPreferences preferences;
    DBusSleepInhibitor sleep;
    Updates updates(QCoreApplication::applicationDirPath().toStdString());
    AppDelegate* delegate = nullptr;
    const std::filesystem::path looksFolder =
        platform::preferencesFolder(platform::SessionEnvironment::read()) / "looks";
    const model::LookFolder looks(looksFolder);
    editor::EditorWindows editors(
        loop, {.makeSoundOutput = [] { return platform::openSoundOutput(); },
               .dropped = [&](const std::filesystem::path& folder) { delegate->open(folder); },
               .newRecording = [&] { delegate->newRecording(); },
               .keepAwake = [&]() -> std::shared_ptr<void> {
                   return std::shared_ptr(sleep.inhibit("Ein Video wird ausgegeben."));
               },
               .overviewCache = capture::overviewCacheFolder(),
               .filmCache = capture::filmCacheFolder(),
               .preparesFilms = {[&] { return preferences.preparesFilms().value_or(true); },
                                 [&](bool prepares) { preferences.setPreparesFilms(prepares); }},
               .isOnMains = [] { return isOnMains(); },
               .isRecording = [&] { return !delegate->applicationShouldTerminateAfterLastWindowClosed(); },
               .exportFolder = {loadExportFolder, keepExportFolder},
               .mayNotify = [&] { return delegate->applicationShouldTerminateAfterLastWindowClosed(); },
               .looks = looksFolder});
    RecordingLibrary library(loop,
                             {.root = capture::recordingsRoot(),
                              .pictureCache = capture::overviewCacheFolder(),
                              .homeTrash = homeTrash(),
                              .useOf =
                                  [&](const std::filesystem::path& folder) {
                                      if (delegate->isCompleting(folder)) return RecordingUse::completed;
                                      if (editors.exports().list().shownFor(folder) != nullptr) {
                                          return RecordingUse::rendered;
                                      }
                                      return editors.isOpen(folder) ? RecordingUse::edited : RecordingUse::none;
                                  },
                              .places = preferences.recordingPlaces(),
                              .placesChanged = [&](const auto& places) { preferences.setRecordingPlaces(places); }});
    AppWindows windows(
        {.editors = editors,
         .library = library,
         .order = loadRecordingOrder(),
         .orderChosen = keepRecordingOrder,
         .render = [&](const std::filesystem::path& folder) { editors.render(folder); },
         .checkForUpdates =
             updates.exist() ? std::function<void()>([&] { updates.check(delegate->window(), false); }) : nullptr,
         .openUpdate = [&] { updates.open(); },
         .level = [board = machine.soundBoard](
                      platform::SoundBoard::Kind kind) { return board->level(kind, hostClockSeconds()); }});
    AppServices services{
        {{*machine.devices, *machine.sound, loop,
          [](const media::EncodingJob& job) {
              return media::chooseRecordingEncoder(job, capture::encoderMemoryFile());
          }},
         *machine.desktop},
        capture::recordingsRoot(),
        preferences,
        sleep,
        [&](std::function<void()> pressed, std::vector<platform::FurtherKeys> further, std::stop_token stop) {
            return grabShortcut(*machine.desktop, {.keys = kStopKeys, .further = std::move(further)},
                                std::move(pressed), std::move(stop));
        }};
    services.soundBoard = machine.soundBoard;
    services.selection = machine.selection;
    services.watchDevices = [](std::function<void()> changed) { return platform::watchDevices(std::move(changed)); };
    services.grabShortcut = [&](const platform::ShortcutRequest& request, std::function<void()> pressed) {
        return grabShortcut(*machine.desktop, request, std::move(pressed), {});
    };
    services.newLook = [&looks]() -> std::optional<model::ProjectSettings> {
        if (!looks.contains(model::LookFolder::kStandard)) return std::nullopt;
        return looks.load(model::LookFolder::kStandard);
    };
    services.recordingOpened = [&](const std::filesystem::path& folder) { library.remember(folder); };
    AppDelegate app(std::move(services), windows);
    delegate = &app;
    windows.setDelegate(app);
    instance.onRequest = [&](const SingleInstance::Request& request) {
        if (request.folder) {
            app.open(*request.folder);
            return;
        }
        windows.reopen();
        if (request.choosesFolder) app.chooseRecording();
    };
    signals.listen([&] { windows.terminate(AppDelegate::TerminationCause::system); });
    const AbruptEnd abruptEnd([&] { endWithoutWindows(app, editors, loop); });
    app.applicationDidFinishLaunching(switches);
    updates.check(app.window(), true);
    return QApplication::exec();
}

}  // namespace

int runApplication(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const CommandSwitches switches = commandSwitches(words, std::filesystem::current_path());
    TerminationSignals signals;
    try {
        Machine machine;
        ToolkitArguments arguments(argv[0], machine.isWayland());
        QApplication application(arguments.count, arguments.words);
        // Qt applies the user's locale, but this program formats and parses numbers with a decimal point.
        std::setlocale(LC_NUMERIC, "C");  // NOLINT(concurrency-mt-unsafe): no other thread formats numbers yet
        QApplication::setApplicationName("LumiVastor");
        QApplication::setOrganizationName("LumiVastor");
        QApplication::setApplicationVersion(LUMI_VERSION);
        QGuiApplication::setDesktopFileName("lumivastor");
        QGuiApplication::setWindowIcon(QIcon(":/lumivastor.svg"));
        translate(application);
        ui::theme::apply(application);
        return run(switches, signals, machine);
    } catch (const RecorderError& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}

}  // namespace lumivastor::app
