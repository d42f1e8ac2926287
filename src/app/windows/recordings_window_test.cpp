// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/recordings_window.h"

#include <gtest/gtest.h>

#include <QAbstractItemModel>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDropEvent>
#include <QFrame>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QTreeView>
#include <QUrl>

#include "capture/journal/journal.h"
#include "support/fitting_texts.h"
#include "support/named_widgets.h"
#include "support/offscreen_application.h"
#include "support/qt_await.h"
#include "support/small_recording.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"
#include "ui/qt_main_loop.h"
#include "ui/theme.h"

namespace lumivastor::app {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class RecordingsWindowTest : public testing::Test {
  protected:
    RecordingsWindowTest() {
        ui::theme::apply(*application_);
        fs::create_directories(root_);
    }

    // The newest last.
    void makeRecording(const std::string& name) {
        TestMovieOptions options;
        options.pictures = 10;
        if (!fs::exists(home_ / "movie.mov")) makeTestMovie(home_ / "movie.mov", options);
        fs::create_directories(root_ / name);
        fs::copy_file(home_ / "movie.mov", root_ / name / "source.mov");
        model::CaptureInfo info;
        info.createdAt = "2024-05-01T09:30:" + std::to_string(10 + made_++) + "Z";
        info.duration = 83;
        info.sourceKind = "display";
        info.save(root_ / name);
    }
    void show() {
        library_ = std::make_unique<RecordingLibrary>(
            loop_, RecordingLibrary::Options{.root = root_,
                                             .pictureCache = home_ / "cache",
                                             .homeTrash = home_ / "Trash",
                                             .useOf = [this](const fs::path&) { return use_; }});
        RecordingsActions actions;
        actions.open = [this](const fs::path& folder) {
            done_.push_back("open " + folder.filename().string());
            return openRefusal_;
        };
        actions.render = [this](const fs::path& folder) { done_.push_back("render " + folder.filename().string()); };
        actions.complete = [this](const fs::path& folder) {
            done_.push_back("complete " + folder.filename().string());
        };
        actions.reveal = [this](const fs::path& folder) { done_.push_back("reveal " + folder.filename().string()); };
        actions.chooseFolder = [this](const std::function<void(const std::string&)>& refused) {
            done_.emplace_back("choose");
            refused("In diesem Ordner liegt keine source.mov.");
        };
        actions.check = [this](const fs::path& folder) -> std::optional<std::string> {
            done_.push_back("check " + folder.filename().string());
            return std::nullopt;
        };
        actions.showExports = [this] { done_.emplace_back("exports"); };
        actions.orderChosen = [this](RecordingOrder order) { order_ = order; };
        window_ = std::make_unique<RecordingsWindow>(*library_, actions, order_);
        window_->orderFront();
        ASSERT_TRUE(awaitInLoop([this] { return library_->isRead(); }));
    }
    ~RecordingsWindowTest() override { window_.reset(); }

    template <typename Widget>
    Widget* find(const char* name) const {
        return window_->findChild<Widget*>(name);
    }
    QTreeView& list() const { return *find<QTreeView>("recordingsList"); }
    QLineEdit& search() const { return *find<QLineEdit>("searchField"); }
    std::string message() const {
        auto* const label = find<QLabel>("messageLabel");
        return label->isVisible() ? label->text().toStdString() : "";
    }
    QString cell(int row, int column, int role = Qt::DisplayRole) const {
        return list().model()->index(row, column).data(role).toString();
    }
    Names names() const {
        Names all;
        for (int i = 0; i < list().model()->rowCount(); ++i) all.push_back(cell(i, 0).toStdString());
        return all;
    }
    std::string selected() const { return cell(list().currentIndex().row(), 0).toStdString(); }
    void key(int pressed) {
        list().setFocus();
        QTest::keyClick(&list(), static_cast<Qt::Key>(pressed));
    }
    void typeName(const QString& name) {
        key(Qt::Key_F2);
        auto* const field = list().findChild<QLineEdit*>("renameField");
        ASSERT_NE(field, nullptr);
        field->setText(name);
        QTest::keyClick(field, Qt::Key_Return);
    }

  private:
    OffscreenApplication application_;

  protected:
    TemporaryFolder home_;
    fs::path root_ = home_ / "Movies";
    int made_ = 0;
    ui::QtMainLoop loop_;
    RecordingUse use_ = RecordingUse::none;
    std::optional<std::string> openRefusal_;
    RecordingOrder order_ = RecordingOrder::newestFirst;
    Names done_;
    std::unique_ptr<RecordingLibrary> library_;
    std::unique_ptr<RecordingsWindow> window_;
};

TEST_F(RecordingsWindowTest, ShowsTheNewestFirstWithItsFacts) {
    makeRecording("A");
    makeRecording("B");
    home_.write("Movies/B/project.json", "{}");
    home_.write("Movies/B/studio-output.mp4", "film");
    show();
    EXPECT_EQ(names(), (Names{"B", "A"}));
    EXPECT_EQ(selected(), "B");
    EXPECT_TRUE(search().hasFocus());
    EXPECT_EQ(cell(0, 2), "1:23");
    EXPECT_EQ(cell(0, 4), "Bearbeitet, Gerendert");
    EXPECT_TRUE(awaitInLoop([this] { return cell(0, 3).endsWith(" kB") || cell(0, 3).endsWith(" MB"); }));
    EXPECT_TRUE(cell(0, 0, Qt::AccessibleTextRole).startsWith("B, "));
    EXPECT_TRUE(cell(0, 0, Qt::AccessibleTextRole).contains("Länge 1:23"));
    EXPECT_TRUE(find<QLabel>("countLabel")->text().startsWith("2 Aufnahmen"));
}

TEST_F(RecordingsWindowTest, APictureArrives) {
    fs::create_directories(root_ / "A");
    makeSmallRecording(root_ / "A", 30, 1080);
    show();
    EXPECT_TRUE(awaitInLoop([this] { return library_->picture(root_ / "A") != nullptr; }));
    // Painting it must not need it.
    window_->grab();
}

TEST_F(RecordingsWindowTest, SearchesAsItIsTyped) {
    for (const char* name : {"Übung 1", "Vorführung", "Übung 2"}) makeRecording(name);
    show();
    QTest::keyClicks(&search(), "ubung");
    EXPECT_EQ(names(), (Names{"Übung 2", "Übung 1"}));
    EXPECT_EQ(find<QLabel>("countLabel")->text(), "2 von 3 Aufnahmen");
    QTest::keyClick(&search(), Qt::Key_Return);
    EXPECT_EQ(done_, Names{"open Übung 2"});
    QTest::keyClick(&search(), Qt::Key_Down);
    EXPECT_TRUE(list().hasFocus());
    QTest::keyClick(&list(), Qt::Key_Down);
    EXPECT_EQ(selected(), "Übung 1");

    search().setText("nichts");
    EXPECT_FALSE(list().isVisible());
    EXPECT_EQ(find<QLabel>("emptyHeading")->text(), "Keine Aufnahme passt zu „nichts“");
    EXPECT_FALSE(find<QPushButton>("openButton")->isEnabled());
    EXPECT_GT(expectTextsFit(*window_), 5);
    find<QPushButton>("clearButton")->click();
    EXPECT_EQ(names().size(), 3U);
    search().setText("x");
    QTest::keyClick(&search(), Qt::Key_Escape);
    EXPECT_TRUE(search().text().isEmpty());
}

TEST_F(RecordingsWindowTest, IsSortedByThePopupAndByTheColumns) {
    for (const char* name : {"b", "a", "c"}) makeRecording(name);
    show();
    const auto clickColumn = [this](int column) {
        QHeaderView* const header = list().header();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          {header->sectionViewportPosition(column) + 10, header->height() / 2});
    };
    clickColumn(0);
    EXPECT_EQ(names(), (Names{"a", "b", "c"}));
    EXPECT_EQ(find<QComboBox>("orderPopup")->currentText(), "Name A–Z");
    clickColumn(0);
    EXPECT_EQ(names(), (Names{"c", "b", "a"}));
    clickColumn(4);
    EXPECT_EQ(names(), (Names{"c", "b", "a"})) << "states have no order";
    EXPECT_EQ(list().header()->sortIndicatorSection(), 0);
    auto* const popup = find<QComboBox>("orderPopup");
    popup->setCurrentIndex(1);
    Q_EMIT popup->activated(1);
    EXPECT_EQ(names(), (Names{"b", "a", "c"}));
    EXPECT_EQ(popup->currentText(), "Älteste zuerst");
    EXPECT_EQ(list().header()->sortIndicatorSection(), 1);
    EXPECT_EQ(order_, RecordingOrder::oldestFirst) << "to be remembered";
    window_.reset();
    show();
    EXPECT_EQ(names(), (Names{"b", "a", "c"}));
    EXPECT_EQ(find<QComboBox>("orderPopup")->currentText(), "Älteste zuerst");
}

TEST_F(RecordingsWindowTest, SeveralGoToTheTrashAtOnce) {
    for (const char* name : {"A", "B", "C"}) makeRecording(name);
    show();
    list().setFocus();
    QTest::keyClick(&list(), Qt::Key_Down, Qt::ShiftModifier);
    const auto count = [this] { return list().selectionModel()->selectedRows().size(); };
    EXPECT_EQ(count(), 2);
    EXPECT_TRUE(
        awaitInLoop([this] { return find<QLabel>("countLabel")->text().startsWith("2 Aufnahmen ausgewählt, "); }));
    for (const char* one : {"openButton", "renameButton", "revealButton"}) {
        EXPECT_FALSE(find<QPushButton>(one)->isEnabled()) << one;
    }
    find<QPushButton>("renderButton")->click();
    EXPECT_EQ(done_, (Names{"render C", "render B"}));
    // A click beside the rows takes nothing back, and neither does what changes on the disk.
    QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, list().viewport()->rect().bottomLeft() - QPoint(-5, 2));
    makeRecording("D");
    ASSERT_TRUE(awaitInLoop([this] { return names().size() == 4; }));
    EXPECT_EQ(count(), 2);
    find<QPushButton>("trashButton")->click();
    const auto* const box = window_->findChild<QMessageBox*>("trashDialog");
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->text(), "2 Aufnahmen in den Papierkorb verschieben?");
    for (QAbstractButton* each : box->buttons()) {
        if (each->text() == "In den Papierkorb") each->click();
    }
    ASSERT_TRUE(awaitInLoop([this] { return !message().empty(); }));
    EXPECT_EQ(message(), "2 Aufnahmen liegen im Papierkorb und lassen sich dort wiederherstellen.");
    EXPECT_EQ(names(), (Names{"D", "A"}));
    EXPECT_EQ(count(), 1);
}

TEST_F(RecordingsWindowTest, AnEmptyListSaysWhatItIsFor) {
    show();
    EXPECT_FALSE(list().isVisible());
    EXPECT_EQ(find<QLabel>("emptyHeading")->text(), "Noch keine Aufnahmen");
    EXPECT_FALSE(find<QPushButton>("clearButton")->isVisible());
    EXPECT_GT(expectTextsFit(*window_), 5);
    for (const int pressed : {Qt::Key_Return, Qt::Key_F2, Qt::Key_Delete}) key(pressed);
    EXPECT_TRUE(done_.empty());
    // It keeps up with the disk by itself.
    makeRecording("A");
    EXPECT_TRUE(awaitInLoop([this] { return names() == Names{"A"}; }));
    EXPECT_TRUE(list().isVisible());
    EXPECT_EQ(selected(), "A");
}

TEST_F(RecordingsWindowTest, KeepsUpWithTheDiskAndKeepsTheSelection) {
    makeRecording("A");
    makeRecording("B");
    show();
    key(Qt::Key_Down);
    ASSERT_EQ(selected(), "A");
    makeRecording("C");
    ASSERT_TRUE(awaitInLoop([this] { return names() == Names{"C", "B", "A"}; }));
    EXPECT_EQ(selected(), "A");
    home_.write("Movies/A/studio-output.mp4", "film");
    EXPECT_TRUE(awaitInLoop([this] { return cell(2, 4) == "Gerendert"; }));
    fs::remove_all(root_ / "A");
    EXPECT_TRUE(awaitInLoop([this] { return names() == Names{"C", "B"}; }));
    EXPECT_EQ(selected(), "B");
}

TEST_F(RecordingsWindowTest, KeysAndButtonsDoTheSame) {
    makeRecording("A");
    show();
    key(Qt::Key_Return);
    list().setFocus();
    QTest::keyClick(&list(), Qt::Key_R, Qt::ControlModifier);
    QTest::keyClick(&list(), Qt::Key_D, Qt::ControlModifier);
    QTest::keyClick(&list(), Qt::Key_P, Qt::ControlModifier);
    EXPECT_EQ(std::exchange(done_, {}), (Names{"open A", "render A", "reveal A", "check A"}));
    find<QPushButton>("exportsButton")->click();
    QTest::keyClick(window_.get(), Qt::Key_E, Qt::ControlModifier);
    EXPECT_EQ(std::exchange(done_, {}), (Names{"exports", "exports"}));
    const Names once = {"open A", "render A", "reveal A"};
    for (const char* each : {"openButton", "renderButton", "revealButton"}) find<QPushButton>(each)->click();
    EXPECT_EQ(done_, once);
    done_.clear();
    const QRect row = list().visualRect(list().model()->index(0, 0));
    QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, row.center());
    QTest::mouseDClick(list().viewport(), Qt::LeftButton, {}, row.center());
    EXPECT_EQ(done_, Names{"open A"});
}

TEST_F(RecordingsWindowTest, WhatCannotBeOpenedIsSaid) {
    makeRecording("A");
    show();
    openRefusal_ = "Editor konnte nicht geöffnet werden: Kein Bild.";
    key(Qt::Key_Return);
    EXPECT_EQ(message(), "Editor konnte nicht geöffnet werden: Kein Bild.");
    openRefusal_.reset();
    key(Qt::Key_Return);
    EXPECT_EQ(message(), "");
    find<QPushButton>("chooseFolderButton")->click();
    EXPECT_EQ(done_.back(), "choose");
    EXPECT_EQ(message(), "In diesem Ordner liegt keine source.mov.");
    find<QPushButton>("closeMessageButton")->click();
    EXPECT_EQ(message(), "");
}

TEST_F(RecordingsWindowTest, StatesSayWhatCanBeDone) {
    home_.write("Movies/interrupted/source.mov", "fragments");
    home_.write("Movies/interrupted/journal", "lines");
    show();
    EXPECT_EQ(cell(0, 4), "Unterbrochen");
    EXPECT_EQ(find<QPushButton>("openButton")->text(), "Abschließen");
    EXPECT_FALSE(find<QPushButton>("renderButton")->isEnabled());
    key(Qt::Key_Return);
    EXPECT_EQ(done_, Names{"complete interrupted"});
    done_.clear();
    const capture::Journal recorder(root_ / "interrupted");
    library_->refresh();
    ASSERT_TRUE(awaitInLoop([this] { return cell(0, 4) == "Wird aufgenommen"; }));
    EXPECT_FALSE(find<QPushButton>("openButton")->isEnabled());
    key(Qt::Key_Delete);
    EXPECT_EQ(message(), "„interrupted“ wird gerade aufgenommen.");
    EXPECT_EQ(window_->findChild<QMessageBox*>(), nullptr);
    key(Qt::Key_F2);
    EXPECT_EQ(list().findChild<QLineEdit*>("renameField"), nullptr);
    EXPECT_TRUE(done_.empty());
}

TEST_F(RecordingsWindowTest, RenamesInPlace) {
    makeRecording("A");
    makeRecording("B");
    show();
    typeName(" Übung 7 ");
    ASSERT_TRUE(awaitInLoop([this] { return fs::exists(root_ / "Übung 7"); }));
    EXPECT_FALSE(fs::exists(root_ / "B"));
    ASSERT_TRUE(awaitInLoop([this] { return selected() == "Übung 7"; }));
    typeName("A");
    ASSERT_TRUE(awaitInLoop([this] { return !message().empty(); }));
    EXPECT_EQ(message(), "Es gibt hier schon etwas mit dem Namen „A“.");
    EXPECT_TRUE(fs::exists(root_ / "Übung 7"));
    typeName("a/b");
    EXPECT_TRUE(awaitInLoop([this] { return message() == "Ein Name darf keinen Schrägstrich enthalten."; }));
}

TEST_F(RecordingsWindowTest, TheListWaitsWhileANameIsTyped) {
    makeRecording("A");
    show();
    key(Qt::Key_F2);
    auto* const field = list().findChild<QLineEdit*>("renameField");
    ASSERT_NE(field, nullptr);
    makeRecording("B");
    library_->refresh();
    ASSERT_TRUE(awaitInLoop([this] { return library_->entries().size() == 2; }));
    QTest::qWait(50);
    EXPECT_EQ(list().findChild<QLineEdit*>("renameField"), field);
    QTest::keyClick(field, Qt::Key_Escape);
    EXPECT_TRUE(awaitInLoop([this] { return names() == Names{"B", "A"}; }));
    EXPECT_TRUE(fs::exists(root_ / "A"));
}

TEST_F(RecordingsWindowTest, AsksBeforeItMovesToTheTrash) {
    makeRecording("A");
    makeRecording("B");
    show();
    key(Qt::Key_Delete);
    auto* box = window_->findChild<QMessageBox*>("trashDialog");
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->text(), "„B“ in den Papierkorb verschieben?");
    EXPECT_TRUE(box->informativeText().contains("wiederherstellen"));
    EXPECT_EQ(box->defaultButton()->text(), "Abbrechen");
    box->defaultButton()->click();
    EXPECT_TRUE(fs::exists(root_ / "B"));
    ASSERT_TRUE(awaitInLoop([this] { return window_->findChild<QMessageBox*>() == nullptr; }));

    find<QPushButton>("trashButton")->click();
    box = window_->findChild<QMessageBox*>("trashDialog");
    ASSERT_NE(box, nullptr);
    for (QAbstractButton* each : box->buttons()) {
        if (each->text() == "In den Papierkorb") each->click();
    }
    ASSERT_TRUE(awaitInLoop([this] { return !message().empty(); }));
    EXPECT_FALSE(fs::exists(root_ / "B"));
    EXPECT_TRUE(fs::exists(home_ / "Trash/files/B/source.mov"));
    EXPECT_EQ(message(), "„B“ liegt im Papierkorb und lässt sich dort wiederherstellen.");
    EXPECT_EQ(names(), Names{"A"});
    EXPECT_EQ(selected(), "A");
}

TEST_F(RecordingsWindowTest, TheQuestionShowsLongNamesWhole) {
    makeRecording("Einführung in die Tabellenkalkulation mit vielen Beispielen und einem sehr langen Namen");
    show();
    key(Qt::Key_Delete);
    auto* const box = window_->findChild<QMessageBox*>("trashDialog");
    ASSERT_NE(box, nullptr);
    QApplication::processEvents();
    EXPECT_GT(expectTextsFit(*box), 2);
    for (const QLabel* label : box->findChildren<QLabel*>()) {
        if (label->text().isEmpty() || !label->isVisible()) continue;
        const bool isCut = label->sizeHint().width() > label->width() && !label->wordWrap();
        EXPECT_FALSE(isCut) << label->text().toStdString();
    }
}

TEST_F(RecordingsWindowTest, TheMenuHasTheSameCommands) {
    makeRecording("A");
    show();
    Q_EMIT list().customContextMenuRequested(list().visualRect(list().currentIndex()).center());
    auto* const menu = window_->findChild<QMenu*>("recordingMenu");
    ASSERT_NE(menu, nullptr);
    std::vector<std::string> titles;
    for (const QAction* each : menu->actions()) {
        if (!each->isSeparator()) titles.push_back(each->text().toStdString());
    }
    EXPECT_EQ(titles, (std::vector<std::string>{"Bearbeiten", "Rendern", "Prüfvideo erzeugen", "Umbenennen",
                                                "In Dateiverwaltung zeigen", "In den Papierkorb"}));
    menu->actions().front()->trigger();
    EXPECT_EQ(done_, Names{"open A"});
    menu->close();
}

TEST_F(RecordingsWindowTest, FoldersAreDropped) {
    makeRecording("A");
    home_.write("elsewhere/C/source.mov", "movie");
    model::CaptureInfo().save(home_ / "elsewhere/C");
    home_.write("photos/a.jpg", "x");
    show();
    const auto drop = [this](const fs::path& folder) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(QString::fromStdString(folder.string()))});
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(window_.get(), &enter);
        EXPECT_TRUE(enter.isAccepted());
        QDropEvent event({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(window_.get(), &event);
    };
    drop(home_ / "photos");
    EXPECT_TRUE(awaitInLoop([this] { return message() == "In „photos“ liegt keine Aufnahme."; }));
    search().setText("A");
    drop(home_ / "elsewhere/C");
    EXPECT_TRUE(awaitInLoop([this] { return names().size() == 2 && selected() == "C"; }));
    EXPECT_EQ(message(), "");
}

class RecordingsWindowTypeTest : public RecordingsWindowTest, public testing::WithParamInterface<double> {
  protected:
    RecordingsWindowTypeTest() {
        QFont font = QApplication::font();
        font.setPointSizeF(GetParam());
        QApplication::setFont(font);
    }
};

TEST_P(RecordingsWindowTypeTest, EverythingIsNamedAndFits) {
    makeRecording("A");
    show();
    find<QPushButton>("chooseFolderButton")->click();
    QApplication::processEvents();
    EXPECT_GT(expectTextsFit(*window_), 8);
    EXPECT_GT(expectEverythingIsNamed(*window_), 10);
    for (const QWidget* each : window_->findChildren<QWidget*>()) {
        const auto* const pressed = dynamic_cast<const QPushButton*>(each);
        if (pressed == nullptr || !pressed->isEnabled()) continue;
        EXPECT_NE(pressed->focusPolicy() & Qt::TabFocus, 0) << pressed->objectName().toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(TypeOf, RecordingsWindowTypeTest, testing::Values(10.0, 14.0, 20.0));

}  // namespace
}  // namespace lumivastor::app
