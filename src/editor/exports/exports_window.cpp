// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/exports_window.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "base/saturated.h"
#include "editor/exports/export_choice.h"
#include "ui/accessible.h"
#include "ui/text_labels.h"
#include "ui/theme.h"

namespace lumivastor::editor {

namespace {

constexpr QSize kSize(620, 360);
constexpr int kSteps = 1000;
// From this size of type, buttons stand below the texts, which would have no room beside them.
constexpr double kLargeType = 1.4;
// A screen is not wide enough for more.
constexpr double kMostGrowth = 1.5;
// The approximate size of the frame that a window manager adds.
constexpr QSize kFrame(8, 40);

QPushButton* button(const QString& title, const char* name, const QString& accessible, const QString& tip,
                    std::function<void()> action) {
    auto* made = new QPushButton(title);
    made->setObjectName(name);
    made->setAccessibleName(accessible);
    made->setToolTip(tip);
    QObject::connect(made, &QPushButton::clicked, made, [action = std::move(action)] { action(); });
    return made;
}

}  // namespace

struct ExportsWindow::Row {
    int id = 0;
    std::unique_ptr<QFrame> frame;
    ui::ElidedLabel* title = nullptr;
    QLabel* status = nullptr;
    QProgressBar* bar = nullptr;
    QPushButton* play = nullptr;
    QPushButton* reveal = nullptr;
    QPushButton* up = nullptr;
    QPushButton* down = nullptr;
    QPushButton* cancel = nullptr;
    QPushButton* remove = nullptr;
};

ExportsWindow::ExportsWindow(ExportQueue& queue, Callbacks callbacks)
    : queue_(queue),
      callbacks_(std::move(callbacks)),
      list_(new QVBoxLayout),
      empty_(new QLabel("Es gibt keine Exporte.")),
      status_(new QLabel),
      clearButton_(button("Beendete entfernen", "clearExportsButton", "Beendete entfernen",
                          "Fertige, fehlgeschlagene und abgebrochene Exporte aus der Liste nehmen; Dateien bleiben",
                          [this] { queue_.removeFinished(); })) {
    setObjectName("exportsWindow");
    setWindowTitle("LumiVastor – Exporte");
    setProperty("role", "window");
    ui::makeWindow(*this);
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(ui::theme::styleSheet(font()));

    auto* page = new QWidget;
    page->setProperty("role", "column");
    page->setAttribute(Qt::WA_StyledBackground);
    auto* pageLayout = new QVBoxLayout(page);
    pageLayout->setContentsMargins(ui::theme::kApart, ui::theme::kApart, ui::theme::kApart, ui::theme::kApart);
    list_->setSpacing(ui::theme::kNear);
    pageLayout->addLayout(list_);
    empty_->setObjectName("noExportsLabel");
    empty_->setProperty("role", "second");
    empty_->setAlignment(Qt::AlignCenter);
    empty_->setWordWrap(true);
    pageLayout->addWidget(empty_);
    pageLayout->addStretch(1);
    auto* area = new QScrollArea;
    area->setObjectName("exportsArea");
    area->setAccessibleName("Exporte");
    area->setWidget(page);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus);

    status_->setObjectName("exportsStatus");
    ui::makeStatusLine(*status_);
    status_->setWordWrap(true);
    auto* bottom = new QHBoxLayout;
    bottom->setContentsMargins(ui::theme::kMargin, ui::theme::kNear, ui::theme::kMargin, ui::theme::kApart);
    bottom->setSpacing(ui::theme::kNear);
    bottom->addWidget(status_, 1);
    bottom->addWidget(clearButton_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(area, 1);
    layout->addLayout(bottom);
    resize(
        (kSize * std::min(ui::theme::typeFactor(font()), kMostGrowth)).boundedTo(screen()->availableSize() - kFrame));
    auto* const closing = new QShortcut(QKeySequence("Ctrl+W"), this);
    connect(closing, &QShortcut::activated, this, [this] { close(); });
    // No button has the keyboard until the user presses the tabulator key.
    setFocusPolicy(Qt::ClickFocus);
    setFocus();
    observation_ = queue_.observe({[this] { refresh(); }, {}});
    refresh();
}

ExportsWindow::~ExportsWindow() = default;

void ExportsWindow::setStatus(const std::string& text) {
    status_->setText(QString::fromStdString(text));
    ui::announce(*status_);
}

std::unique_ptr<ExportsWindow::Row> ExportsWindow::makeRow(int id) {
    auto row = std::make_unique<Row>();
    row->id = id;
    row->frame = std::make_unique<QFrame>();
    row->frame->setObjectName("exportRow");
    row->frame->setProperty("role", "card");
    row->title = new ui::ElidedLabel;
    row->title->setObjectName("exportTitle");
    row->title->setProperty("role", "heading");
    row->status = new QLabel;
    row->status->setWordWrap(true);  // why one failed
    row->status->setTextFormat(Qt::PlainText);
    row->status->setObjectName("exportStatus");
    row->status->setProperty("role", "second");
    row->bar = new QProgressBar;
    row->bar->setObjectName("exportProgress");
    row->bar->setAccessibleName("Fortschritt");
    row->bar->setRange(0, kSteps);
    row->bar->setTextVisible(false);
    const auto file = [this, id] {
        const ExportEntry* const entry = queue_.list().find(id);
        return entry == nullptr ? std::filesystem::path() : entry->file;
    };
    row->play = button("Abspielen", "playExportButton", "Abspielen", "Den Film mit dem Programm des Desktops abspielen",
                       [this, file] { callbacks_.play(file()); });
    row->reveal = button("Im Ordner zeigen", "revealExportButton", "Im Ordner zeigen",
                         "Die Datei in der Dateiverwaltung zeigen", [this, file] { callbacks_.reveal(file()); });
    row->up = button("↑", "raiseExportButton", "Früher", "Vor dem Export davor rendern",
                     [this, id] { queue_.move(id, true); });
    row->down = button("↓", "lowerExportButton", "Später", "Nach dem Export danach rendern",
                       [this, id] { queue_.move(id, false); });
    row->cancel = button("Abbrechen", "cancelExportButton", "Export abbrechen",
                         "Den Export abbrechen; keine Datei bleibt", [this, id] { queue_.cancel(id); });
    row->remove = button("Entfernen", "removeExportButton", "Aus der Liste entfernen",
                         "Aus der Liste nehmen; die Datei bleibt", [this, id] { queue_.remove(id); });

    auto* texts = new QVBoxLayout;
    texts->setSpacing(ui::theme::kTight);
    texts->addWidget(row->title);
    texts->addWidget(row->status);
    texts->addWidget(row->bar);
    const bool isLarge = ui::theme::typeFactor(font()) >= kLargeType;
    auto* across = new QBoxLayout(isLarge ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight, row->frame.get());
    across->setContentsMargins(ui::theme::kApart, ui::theme::kNear, ui::theme::kNear, ui::theme::kNear);
    across->setSpacing(ui::theme::kNear);
    across->addLayout(texts, 1);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(ui::theme::kNear);
    if (isLarge) buttons->addStretch(1);
    for (QPushButton* each : {row->play, row->reveal, row->up, row->down, row->cancel, row->remove}) {
        buttons->addWidget(each);
    }
    across->addLayout(buttons);
    return row;
}

// One of the buttons may have been clicked: rows go a moment later.
void ExportsWindow::refresh() {
    const std::vector<ExportEntry>& entries = queue_.list().entries();
    std::vector<std::unique_ptr<Row>> rows;
    for (const ExportEntry& entry : entries) {
        const auto found =
            std::find_if(rows_.begin(), rows_.end(), [&](const auto& row) { return row && row->id == entry.id; });
        rows.push_back(found == rows_.end() ? makeRow(entry.id) : std::move(*found));
    }
    for (auto& gone : rows_) {
        if (!gone) continue;
        gone->frame->hide();
        gone->frame.release()->deleteLater();
    }
    rows_ = std::move(rows);
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        QFrame* const frame = rows_[i]->frame.get();
        const int place = static_cast<int>(i);
        if (list_->indexOf(frame) != place) {
            list_->removeWidget(frame);
            list_->insertWidget(place, frame);
            frame->show();
        }
        showEntry(*rows_[i], entries[i]);
    }
    empty_->setVisible(rows_.empty());
    clearButton_->setEnabled(std::any_of(entries.begin(), entries.end(),
                                         [](const ExportEntry& entry) { return !isUnfinished(entry.state); }));
    if (!queue_.list().isBusy()) setStatus({});
}

void ExportsWindow::showEntry(Row& row, const ExportEntry& entry) {
    const QString title = QString::fromStdString(exportTitle(entry));
    row.title->setFullText(title);
    row.frame->setAccessibleName(title);
    row.status->setText(QString::fromStdString(exportStatus(entry)));
    row.bar->setVisible(entry.state == ExportState::running);
    row.bar->setValue(saturatedRound<int>(entry.fraction * kSteps));
    const ExportList::Actions actions = queue_.list().actions(entry.id);
    row.play->setVisible(actions.play);
    row.reveal->setVisible(actions.reveal);
    row.up->setVisible(entry.state == ExportState::waiting);
    row.up->setEnabled(actions.moveUp);
    row.down->setVisible(entry.state == ExportState::waiting);
    row.down->setEnabled(actions.moveDown);
    row.cancel->setVisible(isUnfinished(entry.state));
    row.cancel->setEnabled(actions.cancel);
    row.remove->setVisible(actions.remove);
}

}  // namespace lumivastor::editor
