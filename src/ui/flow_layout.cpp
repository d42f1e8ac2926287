// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/flow_layout.h"

#include <QWidget>
#include <algorithm>

namespace lumivastor::ui {

FlowLayout::FlowLayout(int spacing) {
    setContentsMargins(0, 0, 0, 0);
    setSpacing(spacing);
}

FlowLayout::~FlowLayout() = default;

void FlowLayout::addItem(QLayoutItem* item) {
    items_.push_back({std::unique_ptr<QLayoutItem>(item)});
}

void FlowLayout::addFilling(QWidget* widget, int least) {
    addWidget(widget);
    items_.back().least = least;
    items_.back().fills = true;
}

QLayoutItem* FlowLayout::itemAt(int index) const {
    return index >= 0 && index < count() ? items_[static_cast<std::size_t>(index)].item.get() : nullptr;
}

QLayoutItem* FlowLayout::takeAt(int index) {
    if (index < 0 || index >= count()) return nullptr;
    const auto place = items_.begin() + index;
    QLayoutItem* const taken = place->item.release();
    items_.erase(place);
    return taken;
}

int FlowLayout::widthOf(const Item& item) {
    return std::max(item.fills ? item.least : item.item->sizeHint().width(), item.item->minimumSize().width());
}

QSize FlowLayout::minimumSize() const {
    QSize size(0, 0);
    for (const Item& each : items_) {
        if (!each.item->isEmpty()) size = size.expandedTo({widthOf(each), each.item->minimumSize().height()});
    }
    return size;
}

QSize FlowLayout::sizeHint() const {
    QSize size(0, 0);
    for (const Item& each : items_) {
        if (each.item->isEmpty()) continue;
        const int before = size.isEmpty() ? 0 : spacing();
        size = {size.width() + before + widthOf(each), std::max(size.height(), each.item->sizeHint().height())};
    }
    return size;
}

void FlowLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    arrange(rect, true);
}

int FlowLayout::arrange(const QRect& rect, bool moves) const {
    std::vector<Placed> line;
    int used = 0;
    int height = 0;
    int y = rect.y();
    const auto finish = [&] {
        if (moves) place(line, {rect.x(), y, rect.width(), height}, height);
        y += height;
        line.clear();
        used = height = 0;
    };
    // What is left over goes into the only line.
    const int single = sizeHint().height();
    for (const Item& each : items_) {
        if (each.item->isEmpty()) continue;
        const int width = std::min(widthOf(each), std::max(rect.width(), 1));
        if (!line.empty() && used + spacing() + width > rect.width()) {
            finish();
            y += spacing();
        }
        used += (line.empty() ? 0 : spacing()) + width;
        height = std::max(height, each.item->sizeHint().height());
        line.push_back({&each, width});
    }
    if (y == rect.y() && moves) height = std::max(height, std::max(rect.height(), single));
    finish();
    return y - rect.y();
}

void FlowLayout::place(const std::vector<Placed>& line, const QRect& rect, int height) const {
    int used = -spacing();
    for (const Placed& each : line) used += each.width + spacing();
    int x = rect.x();
    for (const Placed& each : line) {
        int width = each.width;
        if (each.item->fills) width += std::max(rect.width() - used, 0);
        const QSize hint = each.item->item->sizeHint();
        const int own = std::min(hint.height(), height);
        each.item->item->setGeometry({x, rect.y() + (height - own) / 2, width, own});
        x += width + spacing();
    }
}

}  // namespace lumivastor::ui
