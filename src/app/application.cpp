#include "app/application.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QMessageBox>
#include <QTranslator>
#include <iostream>

#include "base/recorder_error.h"
#include "editor/editor_windows.h"
#include "editor/look.h"
#include "editor/qt_main_loop.h"

namespace lumivastor {

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// Qt's own words, as in the colour panel, in the language of all others.
void translate(QApplication& application) {
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    auto* translator = new QTranslator(&application);
    if (translator->load("qtbase_de", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(translator);
    }
}

}  // namespace

int runApplication(int argc, char** argv) {
    if (argc != 3 || std::string(argv[1]) != "--open-editor") {
        std::cerr << "--open-editor erwartet den ORDNER einer Aufnahme.\n";
        return kWrongUsage;
    }
    QApplication application(argc, argv);
    QApplication::setApplicationName("LumiVastor");
    QApplication::setDesktopFileName("lumivastor");
    translate(application);
    look::apply(application);
    QtMainLoop loop;
    EditorWindows editors(loop, {.makeSoundOutput = [] { return makePulseOutput(); },
                                 .failed =
                                     [](const std::string& message) {
                                         QMessageBox::warning(QApplication::activeWindow(), "LumiVastor",
                                                              QString::fromStdString(message));
                                     }});
    try {
        editors.open(argv[2]);
    } catch (const RecorderError& error) {
        std::cerr << error.what() << "\n";
        return kFailed;
    }
    return QApplication::exec();
}

}  // namespace lumivastor
