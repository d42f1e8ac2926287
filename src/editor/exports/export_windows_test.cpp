// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include "editor/exports/export_dialog.h"
#include "editor/exports/exports_window.h"
#include "support/editor_fixture.h"

namespace lumivastor::editor {
namespace {

class ExportWindowsTest : public EditorFixture {
  protected:
    ExportDialog* openDialog() {
        openWindow();
        window().exportTools().showDialog();
        auto* dialog = window().findChild<ExportDialog*>();
        EXPECT_NE(dialog, nullptr);
        return dialog;
    }
    void choose(const char* box, const QVariant& value) {
        auto* found = find<QComboBox>(box);
        found->setCurrentIndex(found->findData(value));
    }
    void chooseForm(render::FilmForm form) { choose("exportFormBox", static_cast<int>(form)); }
};

TEST_F(ExportWindowsTest, TheDialogShowsWhatTheFormNeeds) {
    ExportDialog* const dialog = openDialog();
    EXPECT_EQ(dialog->choice().form, render::FilmForm::mp4);
    EXPECT_EQ(dialog->choice().height, 1080);
    EXPECT_TRUE(find("exportHeightBox")->isVisible());
    EXPECT_FALSE(find("exportWidthBox")->isVisible());
    chooseForm(render::FilmForm::gif);
    EXPECT_FALSE(find("exportHeightBox")->isVisible());
    for (const char* name : {"exportWidthBox", "exportRateBox", "exportFromBox", "exportToBox"}) {
        EXPECT_TRUE(find(name)->isVisible()) << name;
    }
    EXPECT_TRUE(find<QLineEdit>("exportNameField")->text().endsWith(".gif"));
    EXPECT_EQ(textOf("exportNote"), "640×360 Pixel, 6.0 s, läuft in einer Schleife.");
    choose("exportWidthBox", 480);
    find<QDoubleSpinBox>("exportFromBox")->setValue(2);
    find<QDoubleSpinBox>("exportToBox")->setValue(3.5);
    EXPECT_EQ(textOf("exportNote"), "480×270 Pixel, 1.5 s, läuft in einer Schleife.");
    find<QDoubleSpinBox>("exportToBox")->setValue(1);
    EXPECT_FALSE(find<QPushButton>("exportButton")->isEnabled());
    EXPECT_EQ(textOf("exportFault"), "Der Ausschnitt ist leer: Der Film dauert 6.0 Sekunden.");
}

TEST_F(ExportWindowsTest, WhatCannotBeWrittenIsASentence) {
    openDialog();
    find<QLineEdit>("exportNameField")->setText("");
    EXPECT_EQ(textOf("exportFault"), "Die Datei braucht einen Namen.");
    EXPECT_FALSE(find<QPushButton>("exportButton")->isEnabled());
    chooseForm(render::FilmForm::mov);
    find<QLineEdit>("exportNameField")->setText("source.mov");
    EXPECT_EQ(textOf("exportFault"), "source.mov gehört zur Aufnahme und wird nicht durch das Video ersetzt.");
    EXPECT_FALSE(find<QPushButton>("exportButton")->isEnabled());
    find<QLineEdit>("exportNameField")->setText("film");
    EXPECT_FALSE(find("exportFault")->isVisible());
    EXPECT_TRUE(find<QPushButton>("exportButton")->isEnabled());
}

TEST_F(ExportWindowsTest, AnExistingFileIsReplacedOnlyWhenTheUserWantsIt) {
    ExportDialog* const dialog = openDialog();
    folder_.write("film.gif", "earlier");
    session().setTrimEnd(0.5);
    chooseForm(render::FilmForm::gif);
    find<QLineEdit>("exportNameField")->setText("film");
    find<QDoubleSpinBox>("exportToBox")->setValue(0.5);
    click("exportButton");
    auto* question = dialog->findChild<QMessageBox*>("exportReplaceDialog");
    ASSERT_NE(question, nullptr);
    EXPECT_EQ(question->text(), "Es gibt schon eine Datei „film.gif“. Soll sie ersetzt werden?");
    QTest::mouseClick(question->defaultButton(), Qt::LeftButton);
    EXPECT_TRUE(exports_->list().entries().empty());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    click("exportButton");
    question = dialog->findChild<QMessageBox*>("exportReplaceDialog");
    ASSERT_NE(question, nullptr);
    for (QAbstractButton* each : question->buttons()) {
        if (each->text() == "Ersetzen") QTest::mouseClick(each, Qt::LeftButton);
    }
    ASSERT_EQ(exports_->list().entries().size(), 1u);
    EXPECT_EQ(exports_->list().entries().front().file, folder_ / "film.gif");
    ASSERT_TRUE(awaitExport());
    EXPECT_EQ(folder_.read("film.gif").substr(0, 6), "GIF89a");
    EXPECT_EQ(textOf("statusLabel").substr(0, 7), "Fertig:");
}

TEST_F(ExportWindowsTest, TheListShowsExportsAndWhatCanBeDone) {
    settings_.cuts = {{0.5, 6}};
    openWindow();
    std::filesystem::path played;
    ExportsWindow list(*exports_, {[&](const auto& film) { played = film; }, {}});
    list.show();
    EXPECT_TRUE(list.findChild<QLabel*>("noExportsLabel")->isVisible());
    click("renderButton");
    window().exportTools().showDialog();
    click("exportButton");
    const auto rows = [&] { return list.findChildren<QFrame*>("exportRow"); };
    ASSERT_EQ(rows().size(), 2);
    EXPECT_FALSE(list.findChild<QLabel*>("noExportsLabel")->isVisible());
    const auto in = [&](int row, const char* name) { return rows()[row]->findChild<QWidget*>(name); };
    EXPECT_TRUE(in(0, "exportProgress")->isVisible());
    EXPECT_FALSE(in(1, "exportProgress")->isVisible());
    EXPECT_TRUE(in(1, "cancelExportButton")->isVisible());
    QTest::mouseClick(in(1, "cancelExportButton"), Qt::LeftButton);
    EXPECT_EQ(exports_->list().entries().back().state, ExportState::cancelled);
    ASSERT_TRUE(awaitExport());
    EXPECT_TRUE(in(0, "playExportButton")->isVisible());
    QTest::mouseClick(in(0, "playExportButton"), Qt::LeftButton);
    EXPECT_EQ(played, folder_ / "studio-output.mp4");
    QTest::mouseClick(in(0, "removeExportButton"), Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(rows().size(), 1);
    QTest::mouseClick(list.findChild<QPushButton*>("clearExportsButton"), Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(rows().isEmpty());
    EXPECT_TRUE(std::filesystem::exists(folder_ / "studio-output.mp4"));
}

}  // namespace
}  // namespace lumivastor::editor
