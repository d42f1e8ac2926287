// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/key_page.h"

#include <QBoxLayout>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include "editor/editor_builders.h"
#include "editor/menu_bar.h"
#include "editor/session/command_table.h"
#include "ui/theme.h"

namespace lumivastor::editor {

namespace {

// The ring around the page while it has the keyboard.
constexpr QSize kRing(4, 4);

QString keysOf(const CommandEntry& entry) {
    QString text = toQString(keyText(entry.keys[0]));
    if (!entry.keys[1].empty()) text += ", " + toQString(keyText(entry.keys[1]));
    return text;
}

// Rows of keys under a heading.
class KeyList {
  public:
    KeyList(QVBoxLayout& column, const QString& title) : grid_(new QGridLayout) {
        column.addWidget(toolHeading(title));
        column.addSpacing(ui::theme::kTight);
        grid_->setContentsMargins(0, 0, 0, 0);
        grid_->setHorizontalSpacing(ui::theme::kApart);
        grid_->setVerticalSpacing(ui::theme::kTight);
        grid_->setColumnStretch(1, 1);
        // All lists have their second column at the same place; keys are bold, which is a little wider.
        grid_->setColumnMinimumWidth(0, ui::theme::smallTextWidth("Strg+Y, Strg+Umschalt+Z ."));
        column.addLayout(grid_);
        column.addSpacing(ui::theme::kApart);
    }
    void add(const QString& keys, const QString& text) {
        auto* key = new QLabel(keys);
        key->setProperty("role", "key");
        // A line for each half of a long text, so that the page does not become too wide.
        auto* what = new QLabel(QString(text).replace("; ", ";\n"));
        grid_->addWidget(key, row_, 0, Qt::AlignTop);
        grid_->addWidget(what, row_, 1, Qt::AlignTop);
        ++row_;
    }

  private:
    QGridLayout* grid_;
    int row_ = 0;
};

}  // namespace

KeyPage::KeyPage(QWidget* parent) : QDialog(parent) {
    setObjectName("keyPage");
    setWindowTitle("Tasten des Editors");
    setAttribute(Qt::WA_DeleteOnClose);
    auto* page = new QWidget;
    auto* columns = new QBoxLayout(QBoxLayout::LeftToRight, page);
    columns->setContentsMargins(ui::theme::kMargin, ui::theme::kMargin, ui::theme::kMargin, ui::theme::kMargin);
    columns->setSpacing(2 * ui::theme::kMargin);
    auto* left = new QVBoxLayout;
    auto* right = new QVBoxLayout;
    left->setSpacing(ui::theme::kTight);
    right->setSpacing(ui::theme::kTight);
    columns->addLayout(left, 1);
    columns->addLayout(right, 1);

    std::optional<CommandMenu> menu;
    std::optional<KeyList> list;
    for (const CommandEntry& entry : commandTable()) {
        if (entry.keys[0].empty()) continue;
        if (menu != entry.menu) {
            menu = entry.menu;
            auto* column = entry.menu == CommandMenu::playback || entry.menu == CommandMenu::help ? right : left;
            list.emplace(*column, toQString(menuTitle(entry.menu)).toUpper());
        }
        list->add(keysOf(entry), toQString(entry.title));
    }
    list.emplace(*right, "AUSSERDEM");
    for (const OtherKey& key : otherKeys()) list->add(toQString(key.keys), toQString(key.text));
    left->addStretch(1);
    right->addStretch(1);

    // Scrolls where type is larger than the screen.
    auto* area = new QScrollArea;
    area->setAccessibleName(windowTitle());
    area->setProperty("role", "page");
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidget(page);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(area);
    // The sizes of the texts are only known after the style sheet has set their fonts.
    for (QWidget* each : findChildren<QWidget*>()) {
        each->ensurePolished();
        each->updateGeometry();
    }
    columns->activate();
    const QSize room = screen()->availableSize() * 9 / 10;
    if (page->sizeHint().width() + kRing.width() > room.width()) {
        // One below the other: nothing scrolls sideways.
        columns->setDirection(QBoxLayout::TopToBottom);
        columns->activate();
    }
    const QSize bar(page->sizeHint().height() > room.height() ? area->verticalScrollBar()->sizeHint().width() : 0, 0);
    resize((page->sizeHint() + kRing + bar).boundedTo(room));
}

void KeyPage::keyPressEvent(QKeyEvent* event) {
    if (commandWithKey(keyName(*event)) == Command::showKeys) {
        close();
        return;
    }
    QDialog::keyPressEvent(event);
}

}  // namespace lumivastor::editor
