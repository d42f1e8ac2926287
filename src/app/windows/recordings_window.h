// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFileSystemWatcher>
#include <QKeySequence>
#include <QList>
#include <QTimer>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/library/recording_library.h"
#include "app/library/recording_search.h"
#include "base/lifetime.h"

class QAction;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QStackedWidget;
class QVBoxLayout;

namespace lumivastor::ui {
class ElidedLabel;
}

namespace lumivastor::app {

class RecordingsModel;
class RecordingsView;

/// What happens with a recording outside of the list.
struct RecordingsActions {
    /// Opens it in an editor; a German sentence when that is not possible.
    std::function<std::optional<std::string>(const std::filesystem::path& folder)> open;
    /// Puts an export with the recording's own settings into the queue.
    std::function<void(const std::filesystem::path& folder)> render;
    /// Completes an interrupted recording.
    std::function<void(const std::filesystem::path& folder)> complete;
    /// Writes its check video; a German sentence when that is not possible now.
    std::function<std::optional<std::string>(const std::filesystem::path& folder)> check;
    /// Shows the list of exports.
    std::function<void()> showExports;
    /// The user has chosen another order.
    std::function<void(RecordingOrder order)> orderChosen;
    /// Shows it in the desktop's file viewer.
    std::function<void(const std::filesystem::path& folder)> reveal;
    /// Lets the user choose any folder and opens it. `refused` gets a German sentence when that is not possible.
    std::function<void(std::function<void(const std::string&)> refused)> chooseFolder;
};

/// The window with the list of recordings: finds, opens, renders, renames and removes them. It shows what the library
/// knows, and keeps up with the disk while it is visible. Main thread.
class RecordingsWindow final : public QWidget {
  public:
    /// The library outlives the window, which takes its `onChange`.
    RecordingsWindow(RecordingLibrary& library, RecordingsActions actions,
                     RecordingOrder order = RecordingOrder::newestFirst);
    ~RecordingsWindow() override;

    /// Brings the window to the front, with the keyboard in the search field.
    void orderFront();

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    /// Keys of the search field that belong to the list.
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void buildSearch(QVBoxLayout& column);
    void buildList(QVBoxLayout& column);
    void buildMessage(QVBoxLayout& column);
    void buildButtons(QVBoxLayout& column);
    void makeCommands();
    QAction* command(const char* title, const QList<QKeySequence>& keys, std::function<void()> action);
    void showMenu(const QPoint& place);

    void refreshRows();
    void refreshCommands();
    void refreshWatch();
    void select(const std::filesystem::path& folder);
    void selectRow(int row);
    /// The one that is selected; null when there are none or several.
    const RecordingEntry* selected() const;
    std::vector<RecordingEntry> allSelected() const;
    void selectionChanged();
    void refreshCount();
    void setOrder(RecordingOrder order);
    void chooseOrder(RecordingOrder order);
    void columnClicked(int column);
    /// Says it above the buttons; an empty sentence takes back what was said.
    void tell(const std::string& sentence);

    void openSelected();
    void renderSelected();
    void renameSelected();
    void rename(const std::filesystem::path& folder, const std::string& typed);
    void revealSelected();
    void checkSelected();
    void askToTrash();
    void moveToTrash(const std::vector<std::filesystem::path>& folders);
    bool isChanging(const RecordingEntry& entry);
    void addFolders(const std::vector<std::filesystem::path>& folders);

    RecordingLibrary& library_;
    const RecordingsActions actions_;
    RecordingOrder order_;
    RecordingsModel* model_ = nullptr;
    RecordingsView* view_ = nullptr;
    QLineEdit* searchField_ = nullptr;
    QComboBox* orderPopup_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    QLabel* emptyHeading_ = nullptr;
    QLabel* emptyText_ = nullptr;
    QPushButton* clearButton_ = nullptr;
    QFrame* messageRow_ = nullptr;
    QLabel* messageLabel_ = nullptr;
    ui::ElidedLabel* countLabel_ = nullptr;
    QPushButton* trashButton_ = nullptr;
    QPushButton* revealButton_ = nullptr;
    QPushButton* renameButton_ = nullptr;
    QPushButton* renderButton_ = nullptr;
    QPushButton* openButton_ = nullptr;
    QAction* openCommand_ = nullptr;
    QAction* renderCommand_ = nullptr;
    QAction* renameCommand_ = nullptr;
    QAction* revealCommand_ = nullptr;
    QAction* checkCommand_ = nullptr;
    QAction* trashCommand_ = nullptr;
    std::filesystem::path selected_;  // the current one; stays it when the rows change
    int selectedRow_ = 0;
    bool wasRead_ = false;                            // the library, when rows were shown last
    std::vector<std::filesystem::path> allSelected_;  // stay selected when the rows change
    bool isRefreshing_ = false;                       // then the selection does not change by the user's hand
    Lifetime lifetime_;
    QFileSystemWatcher watcher_;
    QTimer watchDelay_;
    QTimer poll_;  // while something is written, whose end no folder reports
};

}  // namespace lumivastor::app
