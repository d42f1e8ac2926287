// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/startup/application.h"

#include <QApplication>
#include <QDesktopServices>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>
#include <clocale>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "app/app_delegate.h"
#include "app/no_view.h"
#include "app/session/abrupt_end.h"
#include "app/session/dbus_sleep_inhibitor.h"
#include "app/session/single_instance.h"
#include "app/session/stored_preferences.h"
#include "app/session/termination_signals.h"
#include "app/updates/updater.h"
#include "app/windows/app_windows.h"
#include "base/log.h"
#include "capture/recordings_root.h"
#include "editor/editor_windows.h"
#include "media/encoder_choice/encoder_choice.h"
#include "platform/backends/desktop_backend.h"
#include "platform/backends/device_backend.h"
#include "platform/backends/sound_backend.h"
#include "platform/sound/sound_output.h"
#include "ui/qt_main_loop.h"
#include "ui/theme.h"

namespace lumivastor::app {

namespace {

constexpr platform::KeyCombination kStopKeys{.letter = 'S', .control = true, .alt = true, .shift = true};

/// The machine's services that the application uses.
struct Machine {
    std::shared_ptr<platform::SoundSystem> sound = platform::openSoundSystem();
    std::unique_ptr<platform::CaptureDevices> devices = platform::openCaptureDevices(sound);
    /// Throws `RecorderError` without a display server, where Qt would end the program.
    std::unique_ptr<platform::Desktop> desktop = platform::openListedDesktop(sound);
};

std::unique_ptr<platform::GlobalShortcut> grabStopShortcut(std::function<void()> pressed) {
    try {
        return platform::grabShortcut(kStopKeys, std::move(pressed));
    } catch (const RecorderError& error) {
        Log::write("Capture", error.message());
        return nullptr;
    }
}

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

// Finishes the recording, ends exports and saves edits after the display server has taken all windows with it.
void endWithoutWindows(AppDelegate& app, editor::EditorWindows& editors, ui::QtMainLoop& loop) {
    bool ended = false;
    NoView nobody([&] { ended = true; });
    ended = app.endWithoutWindows(nobody) == AppDelegate::TerminateReply::now;
    editors.endWork();
    loop.runDetached([&] { return ended; });
}

int run(const CommandSwitches& switches, TerminationSignals& signals, Machine& machine) {
    SingleInstance instance(instanceFolder(), instanceName(qEnvironmentVariable("DISPLAY")));
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
    editor::EditorWindows editors(loop,
                                  {.makeSoundOutput = [] { return platform::openSoundOutput(); },
                                   .dropped = [&](const std::filesystem::path& folder) { delegate->open(folder); },
                                   .newRecording = [&] { delegate->newRecording(); },
                                   .keepAwake = [&]() -> std::shared_ptr<void> {
                                       return std::shared_ptr(sleep.inhibit("Ein Video wird ausgegeben."));
                                   }});
    AppWindows windows(
        {.editors = editors,
         .checkForUpdates =
             updates.exist() ? std::function<void()>([&] { updates.check(delegate->window(), false); }) : nullptr,
         .openUpdate = [&] { updates.open(); }});
    AppDelegate app({{{*machine.devices, *machine.sound, loop,
                       [](const media::EncodingJob& job) {
                           return media::chooseRecordingEncoder(job, capture::encoderMemoryFile());
                       }},
                      *machine.desktop},
                     capture::recordingsRoot(),
                     preferences,
                     sleep,
                     grabStopShortcut},
                    windows);
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
    // Uses the X11 server for screens, panels and shortcuts, also under Wayland.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "xcb");
    try {
        Machine machine;
        QApplication application(argc, argv);
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
