// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/recordings_window.h"

#include <QAccessible>
#include <QAction>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSet>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "app/library/recording_texts.h"
#include "app/windows/recordings_model.h"
#include "app/windows/recordings_view.h"
#include "ui/accessible.h"
#include "ui/flow_layout.h"
#include "ui/icons.h"
#include "ui/text_labels.h"
#include "ui/theme.h"

namespace lumivastor::app {

namespace {

namespace theme = ui::theme;

constexpr QSize kUsualSize(980, 640);  // for type of the usual size
constexpr double kUsualType = 10;      // in points
constexpr int kEdge = 20;
constexpr int kButtonIcon = 16;
// Programs change a folder several times in a row.
constexpr int kWatchDelay = 300;  // milliseconds
constexpr int kPollInterval = 2000;
constexpr const char* kOpen = "Bearbeiten";
constexpr const char* kComplete = "Abschließen";
constexpr const char* kTrash = "In den Papierkorb";

// This window's style in addition to the shared one.
constexpr const char* kSheet = R"(
    QFrame[role="notice"] { background: #2B2622; border: 1px solid #5A4636; border-radius: 7px; }
    QFrame[role="empty"] { background: @column; border: 1px solid @line; border-radius: 8px; }
    QLabel[role="empty-heading"] { font-size: @large-type; font-weight: 600; }
    QLineEdit#searchField { padding: 4px 8px; border-radius: 7px; }
    QComboBox#orderPopup { font-size: @body-type; padding: 4px 6px 4px 9px; }
)";

QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

QString sheet(const QFont& font) {
    const theme::TypeScale type = theme::typeScale(font);
    const auto points = [](double size) { return QString::number(size, 'f', 2) + "pt"; };
    return theme::styleSheet(font) + QString(kSheet)
                                         .replace("@column", theme::kColumn.name())
                                         .replace("@line", theme::kLine.name())
                                         .replace("@large-type", points(type.large))
                                         .replace("@body-type", points(type.body));
}

QPushButton* button(const char* title, const char* name) {
    auto* made = new QPushButton(title);
    made->setObjectName(name);
    made->setAutoDefault(false);
    return made;
}

QPushButton* iconButton(const char* icon, const char* title, const char* name) {
    auto* made = button("", name);
    made->setProperty("role", "icon");
    made->setIcon(ui::icon(icon));
    const int side = theme::iconSide(kButtonIcon);
    made->setIconSize(QSize(side, side));
    made->setAccessibleName(title);
    return made;
}

std::vector<std::filesystem::path> droppedFolders(const QMimeData& data) {
    std::vector<std::filesystem::path> folders;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile()) folders.emplace_back(url.toLocalFile().toStdString());
    }
    return folders;
}

}  // namespace

RecordingsWindow::RecordingsWindow(RecordingLibrary& library, RecordingsActions actions, RecordingOrder order)
    : library_(library), actions_(std::move(actions)), order_(order) {
    setObjectName("recordingsWindow");
    setWindowTitle("LumiVastor – Aufnahmen");
    setProperty("role", "window");
    ui::makeWindow(*this);
    setAttribute(Qt::WA_StyledBackground);
    setAcceptDrops(true);
    setStyleSheet(sheet(font()));

    model_ =
        new RecordingsModel(library_.root(), [this](const std::filesystem::path& folder, const std::string& typed) {
            // Not within the view's own call: the rows change.
            QTimer::singleShot(0, this, [this, folder, typed] { rename(folder, typed); });
        });
    model_->setParent(this);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kEdge, theme::kMargin, kEdge, theme::kMargin);
    column->setSpacing(theme::kApart);
    buildSearch(*column);
    buildList(*column);
    buildMessage(*column);
    buildButtons(*column);
    makeCommands();
    setOrder(order_);
    // Size hints are only right after the style sheet's fonts have been applied.
    for (QWidget* each : findChildren<QWidget*>()) each->ensurePolished();
    layout()->activate();
    view_->fitColumns();
    const double growth = theme::typeScale(font()).body / kUsualType;
    resize(QSize(static_cast<int>(kUsualSize.width() * growth), kUsualSize.height())
               .expandedTo(layout()->totalMinimumSize()));

    library_.onChange = [this] { refreshRows(); };
    watchDelay_.setSingleShot(true);
    watchDelay_.setInterval(kWatchDelay);
    connect(&watchDelay_, &QTimer::timeout, this, [this] { library_.refresh(); });
    poll_.setInterval(kPollInterval);
    connect(&poll_, &QTimer::timeout, this, [this] { library_.refresh(); });
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, this, [this] {
        if (!watchDelay_.isActive()) watchDelay_.start();
    });
    refreshRows();
}

RecordingsWindow::~RecordingsWindow() {
    library_.onChange = nullptr;
}

void RecordingsWindow::orderFront() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
    searchField_->setFocus();
    searchField_->selectAll();
    library_.refresh();
}

// Building

void RecordingsWindow::buildSearch(QVBoxLayout& column) {
    searchField_ = new QLineEdit;
    searchField_->setObjectName("searchField");
    searchField_->setAccessibleName("Aufnahmen suchen");
    searchField_->setPlaceholderText("Nach Name oder Datum suchen");
    searchField_->setClearButtonEnabled(true);
    searchField_->installEventFilter(this);
    connect(searchField_, &QLineEdit::textChanged, this, [this] {
        // The first hit is what Enter opens.
        selected_.clear();
        selectedRow_ = 0;
        allSelected_.clear();
        refreshRows();
    });
    connect(searchField_, &QLineEdit::returnPressed, this, [this] { openSelected(); });
    orderPopup_ = new QComboBox;
    orderPopup_->setObjectName("orderPopup");
    orderPopup_->setAccessibleName("Reihenfolge");
    orderPopup_->addItems({"Neueste zuerst", "Älteste zuerst", "Name A–Z", "Name Z–A", "Längste zuerst",
                           "Kürzeste zuerst", "Größte zuerst", "Kleinste zuerst"});
    connect(orderPopup_, &QComboBox::activated, this,
            [this](int index) { chooseOrder(static_cast<RecordingOrder>(index)); });
    QPushButton* const exports = button("Exporte", "exportsButton");
    // As high as the list beside it.
    exports->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Preferred);
    exports->setToolTip("Zeigt, was gerade gerendert wird und was fertig ist (Strg+E)");
    const auto showExports = [this] { actions_.showExports(); };
    connect(exports, &QPushButton::clicked, this, showExports);
    connect(new QShortcut(QKeySequence("Ctrl+E"), this), &QShortcut::activated, this, showExports);
    // What assistive programs call a list's name is what is chosen; they find its own in its label.
    auto* orderName = new QLabel("Reihenfolge", this);
    orderName->setBuddy(orderPopup_);
    orderName->hide();
    auto* row = new QHBoxLayout;
    row->setSpacing(theme::kNear);
    row->addWidget(searchField_, 1);
    row->addWidget(orderPopup_);
    row->addWidget(exports);
    column.addLayout(row);
}

void RecordingsWindow::buildList(QVBoxLayout& column) {
    view_ = new RecordingsView(*model_);
    view_->fitColumns();
    connect(view_, &QTreeView::doubleClicked, this, [this] { openSelected(); });
    connect(view_, &QWidget::customContextMenuRequested, this, [this](const QPoint& place) { showMenu(place); });
    connect(view_->header(), &QHeaderView::sectionClicked, this, [this](int clicked) { columnClicked(clicked); });
    connect(view_->selectionModel(), &QItemSelectionModel::currentRowChanged, this, [this](const QModelIndex& now) {
        if (const RecordingEntry* entry = model_->entry(now)) {
            selected_ = entry->folder;
            selectedRow_ = now.row();
        }
        refreshCommands();
    });
    connect(view_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { selectionChanged(); });
    // What has changed while a name was typed.
    connect(view_->itemDelegate(), &QAbstractItemDelegate::closeEditor, this,
            [this] { QTimer::singleShot(0, this, [this] { refreshRows(); }); });

    auto* empty = new QFrame;
    empty->setProperty("role", "empty");
    auto* texts = new QVBoxLayout(empty);
    texts->setSpacing(theme::kNear);
    auto* picture = new QLabel;
    constexpr int kPictureSide = 40;
    picture->setPixmap(
        ui::icon("film", theme::kSecondText).pixmap(QSize(kPictureSide, kPictureSide), devicePixelRatioF()));
    picture->setAlignment(Qt::AlignCenter);
    emptyHeading_ = new QLabel;
    emptyHeading_->setObjectName("emptyHeading");
    emptyHeading_->setProperty("role", "empty-heading");
    emptyHeading_->setTextFormat(Qt::PlainText);
    emptyHeading_->setAlignment(Qt::AlignCenter);
    emptyHeading_->setWordWrap(true);
    emptyText_ = new QLabel;
    emptyText_->setObjectName("emptyText");
    emptyText_->setProperty("role", "second");
    emptyText_->setAlignment(Qt::AlignCenter);
    emptyText_->setWordWrap(true);
    clearButton_ = button("Suche leeren", "clearButton");
    connect(clearButton_, &QPushButton::clicked, this, [this] {
        searchField_->clear();
        searchField_->setFocus();
    });
    texts->addStretch(1);
    texts->addWidget(picture);
    texts->addWidget(emptyHeading_);
    texts->addWidget(emptyText_);
    texts->addWidget(clearButton_, 0, Qt::AlignCenter);
    texts->addStretch(1);

    pages_ = new QStackedWidget;
    pages_->setAccessibleName("Inhalt");
    pages_->addWidget(view_);
    pages_->addWidget(empty);
    column.addWidget(pages_, 1);
}

void RecordingsWindow::buildMessage(QVBoxLayout& column) {
    messageRow_ = new QFrame;
    messageRow_->setProperty("role", "notice");
    auto* row = new QHBoxLayout(messageRow_);
    row->setContentsMargins(theme::kNear, theme::kTight, theme::kTight, theme::kTight);
    messageLabel_ = new QLabel;
    messageLabel_->setObjectName("messageLabel");
    messageLabel_->setTextFormat(Qt::PlainText);
    messageLabel_->setWordWrap(true);
    messageLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QPushButton* const close = button("Ausblenden", "closeMessageButton");
    connect(close, &QPushButton::clicked, this, [this] { tell(""); });
    row->addWidget(messageLabel_, 1);
    row->addWidget(close);
    messageRow_->hide();
    column.addWidget(messageRow_);
}

void RecordingsWindow::buildButtons(QVBoxLayout& column) {
    auto* row = new ui::FlowLayout(theme::kNear);
    QPushButton* const choose = button("Ordner wählen …", "chooseFolderButton");
    choose->setProperty("role", "bottom");
    choose->setToolTip("Öffnet eine Aufnahme in einem anderen Ordner (Strg+O)");
    const auto chooseFolder = [this] {
        tell("");
        actions_.chooseFolder([this](const std::string& sentence) { tell(sentence); });
    };
    connect(choose, &QPushButton::clicked, this, chooseFolder);
    connect(new QShortcut(QKeySequence("Ctrl+O"), this), &QShortcut::activated, this, chooseFolder);
    countLabel_ = new ui::ElidedLabel;
    countLabel_->setObjectName("countLabel");
    countLabel_->setProperty("role", "second");
    countLabel_->setMinimumWidth(theme::smallTextWidth("888 Aufnahmen"));
    trashButton_ = iconButton("trash", kTrash, "trashButton");
    revealButton_ = iconButton("folder", "In Dateiverwaltung zeigen", "revealButton");
    renameButton_ = button("Umbenennen", "renameButton");
    renderButton_ = button("Rendern", "renderButton");
    openButton_ = button(kOpen, "openButton");
    for (QPushButton* each : {trashButton_, revealButton_, renameButton_, renderButton_}) {
        each->setProperty("role", "bottom");
    }
    openButton_->setProperty("role", "main");
    row->addWidget(choose);
    row->addFilling(countLabel_, countLabel_->minimumWidth());
    for (QPushButton* each : {trashButton_, revealButton_, renameButton_, renderButton_, openButton_}) {
        row->addWidget(each);
    }
    column.addLayout(row);
}

// The list's own keys, so that typing in the search field does not press them.
QAction* RecordingsWindow::command(const char* title, const QList<QKeySequence>& keys, std::function<void()> action) {
    auto* made = new QAction(title, this);
    made->setShortcuts(keys);
    made->setShortcutContext(Qt::WidgetShortcut);
    made->setAutoRepeat(false);
    connect(made, &QAction::triggered, this, std::move(action));
    view_->addAction(made);
    return made;
}

void RecordingsWindow::makeCommands() {
    openCommand_ = command(kOpen, {Qt::Key_Return, Qt::Key_Enter}, [this] { openSelected(); });
    renderCommand_ = command("Rendern", {QKeySequence("Ctrl+R")}, [this] { renderSelected(); });
    renameCommand_ = command("Umbenennen", {Qt::Key_F2}, [this] { renameSelected(); });
    revealCommand_ = command("In Dateiverwaltung zeigen", {QKeySequence("Ctrl+D")}, [this] { revealSelected(); });
    checkCommand_ = command("Prüfvideo erzeugen", {QKeySequence("Ctrl+P")}, [this] { checkSelected(); });
    trashCommand_ = command(kTrash, {Qt::Key_Delete}, [this] { askToTrash(); });
    struct Pair {
        QPushButton* pressed;
        QAction* action;
        const char* tip;
    };
    const Pair pairs[] = {
        {openButton_, openCommand_, "Öffnet die Aufnahme im Editor (Eingabetaste)"},
        {renderButton_, renderCommand_, "Rendert das Video mit den Einstellungen der Aufnahme (Strg+R)"},
        {renameButton_, renameCommand_, "Gibt der Aufnahme einen anderen Namen (F2)"},
        {revealButton_, revealCommand_, "In Dateiverwaltung zeigen (Strg+D)"},
        {trashButton_, trashCommand_, "In den Papierkorb (Entf)"}};
    for (const Pair& each : pairs) {
        connect(each.pressed, &QPushButton::clicked, each.action, &QAction::trigger);
        each.pressed->setToolTip(each.tip);
    }
    const auto key = [this](const char* keys, auto action) {
        connect(new QShortcut(QKeySequence(keys), this), &QShortcut::activated, this, action);
    };
    key("Ctrl+F", [this] {
        searchField_->setFocus();
        searchField_->selectAll();
    });
    key("F5", [this] { library_.refresh(); });
    key("Ctrl+W", [this] { close(); });
}

void RecordingsWindow::showMenu(const QPoint& place) {
    if (allSelected().empty()) return;
    const QModelIndex at = view_->indexAt(place);
    // The menu key asks at the middle of the view; the menu belongs to the selected row.
    const QRect row = view_->visualRect(view_->currentIndex());
    const bool isOnRow = at.isValid() && at.row() == view_->currentIndex().row();
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName("recordingMenu");
    menu->addAction(openCommand_);
    menu->addAction(renderCommand_);
    menu->addAction(checkCommand_);
    menu->addSeparator();
    menu->addAction(renameCommand_);
    menu->addAction(revealCommand_);
    menu->addSeparator();
    menu->addAction(trashCommand_);
    menu->popup(view_->viewport()->mapToGlobal(isOnRow ? place : row.center()));
}

// Showing

void RecordingsWindow::refreshRows() {
    if (view_->isRenaming()) return;
    const std::string query = searchField_->text().toStdString();
    // Places elsewhere may be read before the root, but the first of all is selected at first.
    if (!std::exchange(wasRead_, library_.isRead()) && wasRead_) {
        selected_.clear();
        selectedRow_ = 0;
        allSelected_.clear();
    }
    std::vector<RecordingEntry> rows = shownRecordings(library_.entries(), query, order_);
    const std::size_t count = rows.size();
    const int place = selectedRow_;
    const std::filesystem::path folder = selected_;
    const std::vector<std::filesystem::path> all = allSelected_;
    isRefreshing_ = true;
    model_->setRows(std::move(rows), [this](const std::filesystem::path& each) { return library_.picture(each); });
    // What is gone leaves the selection to what is in its place now.
    selectRow(model_->rowOf(folder).value_or(std::min(place, static_cast<int>(count) - 1)));
    for (const std::filesystem::path& each : all) {
        const auto row = model_->rowOf(each);
        if (!row) continue;
        view_->selectionModel()->select(model_->index(*row, RecordingsModel::name),
                                        QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    isRefreshing_ = false;
    selectionChanged();

    const bool isEmpty = library_.entries().empty();
    pages_->setCurrentIndex(count == 0 && library_.isRead() ? 1 : 0);
    clearButton_->setVisible(!isEmpty);
    if (isEmpty) {
        emptyHeading_->setText("Noch keine Aufnahmen");
        emptyText_->setText(
            "Hier erscheint, was du aufnimmst. Aufnahmen aus anderen Ordnern ziehst du in dieses Fenster.");
    } else {
        emptyHeading_->setText("Keine Aufnahme passt zu „" + searchField_->text().trimmed() + "“");
        emptyText_->setText("Gesucht wird in Namen und im Datum, zum Beispiel „März 2025“ oder „14.03.“.");
    }
    const auto isWritten = [](const RecordingEntry& entry) {
        return entry.state == RecordingState::inProgress || entry.isBeingRendered || entry.isBeingCompleted;
    };
    const auto& entries = library_.entries();
    if (std::any_of(entries.begin(), entries.end(), isWritten) && isVisible()) {
        if (!poll_.isActive()) poll_.start();
    } else {
        poll_.stop();
    }
    refreshWatch();
}

void RecordingsWindow::refreshCount() {
    const std::vector<RecordingEntry> chosen = allSelected();
    if (chosen.size() > 1) {
        countLabel_->setFullText(qt(selectionText(chosen)));
        return;
    }
    const auto count = static_cast<std::size_t>(model_->rowCount());
    QString text = library_.isRead() ? qt(countText(library_.entries(), count)) : QString();
    if (library_.isCut()) text += " – es gibt mehr Ordner, als hier gezeigt werden";
    countLabel_->setFullText(text);
}

void RecordingsWindow::selectionChanged() {
    if (isRefreshing_) return;
    allSelected_.clear();
    for (const RecordingEntry& entry : allSelected()) allSelected_.push_back(entry.folder);
    refreshCommands();
    refreshCount();
}

void RecordingsWindow::refreshCommands() {
    const std::vector<RecordingEntry> chosen = allSelected();
    const RecordingEntry* const entry = selected();
    const RecordingCommands can = entry != nullptr ? commandsOf(*entry) : RecordingCommands{};
    const QString title = can.canComplete ? kComplete : kOpen;
    openCommand_->setText(title);
    openButton_->setText(title);
    openCommand_->setEnabled(can.canOpen || can.canComplete);
    renderCommand_->setEnabled(std::any_of(chosen.begin(), chosen.end(),
                                           [](const RecordingEntry& each) { return commandsOf(each).canRender; }));
    checkCommand_->setEnabled(can.canOpen);
    for (QAction* each : {renameCommand_, revealCommand_}) each->setEnabled(entry != nullptr);
    trashCommand_->setEnabled(!chosen.empty());
    const std::pair<QPushButton*, QAction*> pairs[] = {{openButton_, openCommand_},
                                                       {renderButton_, renderCommand_},
                                                       {renameButton_, renameCommand_},
                                                       {revealButton_, revealCommand_},
                                                       {trashButton_, trashCommand_}};
    for (const auto& [pressed, action] : pairs) pressed->setEnabled(action->isEnabled());
}

void RecordingsWindow::refreshWatch() {
    QStringList wanted;
    if (isVisible()) {
        for (const std::filesystem::path& folder : library_.watchedFolders()) wanted << qt(folder.string());
    }
    const QStringList watched = watcher_.directories();
    const QSet<QString> before(watched.begin(), watched.end());
    const QSet<QString> now(wanted.begin(), wanted.end());
    const auto remove = QSet<QString>(before).subtract(now).values();
    const auto add = QSet<QString>(now).subtract(before).values();
    if (!remove.isEmpty()) watcher_.removePaths(remove);
    if (!add.isEmpty()) watcher_.addPaths(add);
}

const RecordingEntry* RecordingsWindow::selected() const {
    const QModelIndexList rows = view_->selectionModel()->selectedRows();
    return rows.size() == 1 ? model_->entry(rows.front()) : nullptr;
}

std::vector<RecordingEntry> RecordingsWindow::allSelected() const {
    std::vector<RecordingEntry> all;
    for (const QModelIndex& row : view_->selectionModel()->selectedRows()) {
        if (const RecordingEntry* entry = model_->entry(row)) all.push_back(*entry);
    }
    return all;
}

void RecordingsWindow::selectRow(int row) {
    if (row < 0 || row >= model_->rowCount()) return;
    if (row == view_->currentIndex().row() && view_->selectionModel()->hasSelection()) {
        selectedRow_ = row;
        return;
    }
    view_->setCurrentIndex(model_->index(row, RecordingsModel::name));
}

void RecordingsWindow::select(const std::filesystem::path& folder) {
    selected_ = folder;
    if (const auto row = model_->rowOf(folder)) {
        view_->setCurrentIndex(model_->index(*row, RecordingsModel::name));
        view_->scrollTo(view_->currentIndex());
    }
}

void RecordingsWindow::setOrder(RecordingOrder order) {
    order_ = order;
    orderPopup_->setCurrentIndex(static_cast<int>(order));
    struct Place {
        int column;
        Qt::SortOrder direction;
    };
    // Qt's arrow points down for an ascending order; everywhere else it points up.
    static constexpr Place kPlaces[] = {
        {RecordingsModel::date, Qt::AscendingOrder},   {RecordingsModel::date, Qt::DescendingOrder},
        {RecordingsModel::name, Qt::DescendingOrder},  {RecordingsModel::name, Qt::AscendingOrder},
        {RecordingsModel::length, Qt::AscendingOrder}, {RecordingsModel::length, Qt::DescendingOrder},
        {RecordingsModel::size, Qt::AscendingOrder},   {RecordingsModel::size, Qt::DescendingOrder},
    };
    const Place& place = kPlaces[static_cast<std::size_t>(order)];
    view_->header()->setSortIndicator(place.column, place.direction);
    refreshRows();
    view_->scrollTo(view_->currentIndex());
}

void RecordingsWindow::chooseOrder(RecordingOrder order) {
    setOrder(order);
    if (actions_.orderChosen) actions_.orderChosen(order);
}

void RecordingsWindow::columnClicked(int column) {
    using Order = RecordingOrder;
    static constexpr std::pair<Order, Order> kOrders[] = {{Order::nameAscending, Order::nameDescending},
                                                          {Order::newestFirst, Order::oldestFirst},
                                                          {Order::longestFirst, Order::shortestFirst},
                                                          {Order::largestFirst, Order::smallestFirst}};
    if (column < 0 || column >= static_cast<int>(std::size(kOrders))) {
        setOrder(order_);  // Qt has moved the arrow
        return;
    }
    const auto& [first, second] = kOrders[column];
    chooseOrder(order_ == first ? second : first);
}

void RecordingsWindow::tell(const std::string& sentence) {
    messageLabel_->setText(qt(sentence));
    messageRow_->setVisible(!sentence.empty());
    if (sentence.empty()) return;
    QAccessibleEvent event(messageLabel_, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

// Events

void RecordingsWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refreshRows();
}

void RecordingsWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    poll_.stop();
    refreshWatch();
}

void RecordingsWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    // Whatever no folder reports.
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) library_.refresh();
}

void RecordingsWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!droppedFolders(*event->mimeData()).empty()) event->acceptProposedAction();
}

void RecordingsWindow::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    addFolders(droppedFolders(*event->mimeData()));
}

bool RecordingsWindow::eventFilter(QObject* object, QEvent* event) {
    if (object != searchField_ || event->type() != QEvent::KeyPress) return QWidget::eventFilter(object, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Escape && !searchField_->text().isEmpty()) {
        searchField_->clear();
        return true;
    }
    if (key != Qt::Key_Down || model_->rowCount() == 0) return false;
    view_->setFocus();
    return true;
}

}  // namespace lumivastor::app
