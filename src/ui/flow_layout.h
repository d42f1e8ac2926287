// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLayout>
#include <memory>
#include <vector>

namespace lumivastor::ui {

/// Widgets in reading order, on as many lines as they need: one while there is room, more with larger type. One of them
/// may fill its line.
class FlowLayout final : public QLayout {
  public:
    /// `spacing` in points, between widgets and between lines.
    explicit FlowLayout(int spacing);
    ~FlowLayout() override;

    /// Adds a widget that takes what its line has left, but goes to the next line rather than having less than `least`
    /// points.
    void addFilling(QWidget* widget, int least);

    void addItem(QLayoutItem* item) override;
    int count() const override { return static_cast<int>(items_.size()); }
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return Qt::Horizontal; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override { return arrange({0, 0, width, 0}, false); }
    int minimumHeightForWidth(int width) const override { return heightForWidth(width); }
    /// The widest widget.
    QSize minimumSize() const override;
    /// All on one line.
    QSize sizeHint() const override;
    void setGeometry(const QRect& rect) override;

  private:
    struct Item {
        std::unique_ptr<QLayoutItem> item;
        int least = 0;  // of one that fills
        bool fills = false;
    };
    struct Placed {
        const Item* item;
        int width;
    };

    static int widthOf(const Item& item);
    // Returns the height.
    int arrange(const QRect& rect, bool moves) const;
    void place(const std::vector<Placed>& line, const QRect& rect, int height) const;

    std::vector<Item> items_;
};

}  // namespace lumivastor::ui
