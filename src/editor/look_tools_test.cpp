// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/look_tools.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QFileDialog>
#include <QInputDialog>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <algorithm>
#include <vector>

#include "support/editor_fixture.h"
#include "support/folder_listing.h"

namespace lumivastor::editor {
namespace {

class LookToolsTest : public EditorFixture {
  protected:
    void run(Command command) { window().commandActions().at(command)(); }

    // The items of "Look anwenden", as they are when it opens.
    QMenu* lookMenu() {
        for (QAction* menu : find<QMenuBar>("menuBar")->actions()) {
            for (QAction* each : menu->menu()->actions()) {
                if (each->text() != "Look anwenden" || each->menu() == nullptr) continue;
                Q_EMIT each->menu()->aboutToShow();
                return each->menu();
            }
        }
        return nullptr;
    }
    std::vector<std::string> offered() {
        std::vector<std::string> names;
        for (const QAction* each : lookMenu()->actions()) {
            if (!each->isSeparator()) names.push_back(each->text().toStdString());
        }
        return names;
    }
    void apply(const QString& name) {
        for (QAction* each : lookMenu()->actions()) {
            if (each->text() == name) return each->trigger();
        }
        FAIL() << "no look " << name.toStdString();
    }
    // Closed dialogs are deleted a little later.
    template <class Dialog>
    Dialog* dialog(const char* name) {
        const auto all = window().findChildren<Dialog*>(name);
        const auto open = std::find_if(all.begin(), all.end(), [](const Dialog* each) { return each->isVisible(); });
        return open == all.end() ? nullptr : *open;
    }
    void save(const QString& name) {
        run(Command::saveLook);
        auto* const asked = dialog<QInputDialog>("lookNameDialog");
        ASSERT_NE(asked, nullptr);
        asked->setTextValue(name);
        asked->accept();
    }
    void answer(const QString& button) {
        auto* const box = dialog<QMessageBox>("lookReplaceDialog");
        ASSERT_NE(box, nullptr);
        for (QAbstractButton* each : box->buttons()) {
            if (each->text() == button) return each->click();
        }
        FAIL() << "no button " << button.toStdString();
    }
    // Opens the recording as if it was never edited.
    void openAsNew() {
        window_.reset();
        std::filesystem::remove(model::ProjectSettings::fileURL(folder_.path()));
        EditorWindow::Options options;
        options.looks = looks_.path();
        window_ = std::make_unique<EditorWindow>(folder_.path(), loop_, std::move(options));
        EXPECT_FALSE(std::filesystem::exists(model::ProjectSettings::fileURL(folder_.path())))
            << "opening writes nothing";
    }
    std::string status() { return controls().renderBar.status(); }
    model::LookFolder saved() const { return model::LookFolder(looks_.path()); }
};

TEST_F(LookToolsTest, ALookIsSavedAppliedAndDeleted) {
    openWindow();
    EXPECT_EQ(offered(), (std::vector<std::string>{"(keine gesicherten)", "Standard"}));
    drag("paddingSlider", 0.9);
    const model::ProjectSettings wide = session().settings();
    save(" Breit & hell ");
    EXPECT_EQ(status(), "Der Look „Breit & hell“ ist gesichert.");
    EXPECT_EQ(saved().load("Breit & hell"), model::lookOf(wide));
    EXPECT_EQ(offered(), (std::vector<std::string>{"Breit && hell", "Standard"}));

    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(session().settings(), settings_);
    apply("Breit && hell");
    EXPECT_EQ(session().settings(), wide);
    EXPECT_EQ(controls().settingsColumn.values(), session().controls());
    EXPECT_EQ(session().history().undoName(), "Look anwenden");
    apply("Standard");
    EXPECT_EQ(session().settings(), model::ProjectSettings());
    press(Qt::Key_Z, Qt::ControlModifier);
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(session().settings(), settings_);

    run(Command::deleteLook);
    auto* const asked = dialog<QInputDialog>("lookDeleteDialog");
    ASSERT_NE(asked, nullptr);
    EXPECT_EQ(asked->comboBoxItems(), QStringList{"Breit & hell"});
    asked->accept();
    EXPECT_EQ(status(), "Der Look „Breit & hell“ ist gelöscht.");
    EXPECT_TRUE(namesIn(looks_.path()).empty());
    run(Command::deleteLook);
    EXPECT_EQ(status(), "Es ist kein Look gesichert.");
}

TEST_F(LookToolsTest, ALookIsReplacedOnlyWhenTheUserSaysSo) {
    openWindow();
    save("A");
    drag("paddingSlider", 0.9);
    save("A");
    answer("Abbrechen");
    EXPECT_EQ(saved().load("A"), model::lookOf(settings_));
    save("A");
    answer("Ersetzen");
    EXPECT_EQ(saved().load("A"), model::lookOf(session().settings()));
    EXPECT_NE(session().settings(), settings_);
}

TEST_F(LookToolsTest, WhatIsNoNameAndWhatIsNoLookIsSaid) {
    openWindow();
    save("../A");
    EXPECT_EQ(status(), "Der Name eines Looks beginnt nicht mit einem Punkt.");
    EXPECT_TRUE(namesIn(looks_.path()).empty());
    looks_.write("B.json", "{\"padding\": ");
    apply("B");
    EXPECT_EQ(status(), "„B.json“ konnte nicht gelesen werden: Das ist kein gültiges JSON.");
    EXPECT_EQ(session().settings(), settings_);
    EXPECT_EQ(looks_.read("B.json"), "{\"padding\": ");
}

TEST_F(LookToolsTest, TheStandardIsTheLookInForceUntilItIsDeleted) {
    openWindow();
    drag("paddingSlider", 0.9);
    run(Command::makeStandardLook);
    EXPECT_EQ(status(), "Neue Aufnahmen bekommen jetzt diesen Look.");
    const model::ProjectSettings wide = session().settings();
    press(Qt::Key_Z, Qt::ControlModifier);
    apply("Standard");
    EXPECT_EQ(session().settings(), wide);

    openAsNew();
    EXPECT_EQ(session().settings(), wide);
    EXPECT_EQ(controls().settingsColumn.values(), session().controls());
    EXPECT_EQ(session().history().undoSteps(), 0u);
    EXPECT_EQ(status(), "");
    saved().remove(model::LookFolder::kStandard);
    apply("Standard");
    EXPECT_EQ(session().settings(), model::ProjectSettings());
}

TEST_F(LookToolsTest, SettingsAreTakenFromAnotherRecording) {
    const TemporaryFolder other;
    model::ProjectSettings settings;
    settings.padding = 0.1;
    settings.trimStart = 1;
    settings.webcamSize = 0.4;
    settings.save(other.path());
    openWindow();
    const auto choose = [this](const std::filesystem::path& folder) {
        run(Command::takeSettings);
        auto* const panel = dialog<QFileDialog>("lookFolderDialog");
        ASSERT_NE(panel, nullptr);
        Q_EMIT panel->fileSelected(QString::fromStdString(folder.string()));
        panel->reject();
    };
    choose(other.path());
    const model::ProjectSettings expected = model::withLook(settings_, settings, false);
    EXPECT_EQ(session().settings(), expected);
    EXPECT_EQ(session().settings().padding, 0.1);
    EXPECT_EQ(session().history().undoName(), "Einstellungen übernehmen");
    choose(other.path() / "nowhere");
    EXPECT_TRUE(status().starts_with("„project.json“ konnte nicht gelesen werden: ")) << status();
    EXPECT_EQ(session().settings(), expected);
}

TEST_F(LookToolsTest, ADamagedStandardIsSaidWhenANewRecordingOpens) {
    looks_.write("Standard.json", "[");
    openWindow();
    EXPECT_EQ(status(), "") << "it has settings of its own";
    openAsNew();
    EXPECT_TRUE(status().starts_with("„Standard.json“ konnte nicht gelesen werden: ")) << status();
    EXPECT_EQ(session().settings(), model::ProjectSettings());
    EXPECT_EQ(looks_.read("Standard.json"), "[");
    looks_.write("Standard.json", "{\"padding\": 1e300}");
    openAsNew();
    EXPECT_NE(status(), "") << "nothing can be drawn with it";
    EXPECT_EQ(session().settings(), model::ProjectSettings());
}

}  // namespace
}  // namespace lumivastor::editor
