// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/flow_layout.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QWidget>
#include <vector>

namespace lumivastor::ui {
namespace {

// Three widgets of 100 × 20 points and one between them that fills.
class FlowLayoutTest : public testing::Test {
  protected:
    FlowLayoutTest() {
        layout_ = new FlowLayout(10);
        for (int i = 0; i < 4; ++i) {
            auto* each = new QWidget;
            if (i == 2) {
                each->setFixedHeight(10);
                layout_->addFilling(each, 50);
            } else {
                each->setFixedSize(100, 20);
                layout_->addWidget(each);
            }
            all_.push_back(each);
        }
        holder_.setLayout(layout_);
        holder_.show();
    }
    void resize(int width) {
        holder_.resize(width, layout_->heightForWidth(width));
        QApplication::processEvents();
    }
    std::vector<QRect> places() const {
        std::vector<QRect> places;
        for (const QWidget* each : all_) places.push_back(each->geometry());
        return places;
    }

    QWidget holder_;
    FlowLayout* layout_;
    std::vector<QWidget*> all_;
};

TEST_F(FlowLayoutTest, IsOneLineWhileThereIsRoom) {
    EXPECT_EQ(layout_->sizeHint(), QSize(100 + 100 + 50 + 100 + 3 * 10, 20));
    EXPECT_EQ(layout_->minimumSize(), QSize(100, 20));
    resize(500);
    EXPECT_EQ(places(), (std::vector<QRect>{{0, 0, 100, 20}, {110, 0, 100, 20}, {220, 5, 170, 10}, {400, 0, 100, 20}}));
}

TEST_F(FlowLayoutTest, BreaksInReadingOrder) {
    EXPECT_EQ(layout_->heightForWidth(380), 20);
    EXPECT_EQ(layout_->heightForWidth(379), 50);
    resize(300);
    EXPECT_EQ(places(), (std::vector<QRect>{{0, 0, 100, 20}, {110, 0, 100, 20}, {220, 5, 80, 10}, {0, 30, 100, 20}}));
    EXPECT_EQ(layout_->heightForWidth(100), 20 + 10 + 20 + 10 + 10 + 10 + 20);
}

TEST_F(FlowLayoutTest, NothingOverlapsOrLeavesItWhateverTheWidth) {
    for (int width = 100; width < 600; width += 7) {
        resize(width);
        const auto now = places();
        for (std::size_t i = 0; i < now.size(); ++i) {
            EXPECT_TRUE(holder_.rect().contains(now[i])) << width << ": " << i;
            for (std::size_t j = i + 1; j < now.size(); ++j) EXPECT_FALSE(now[i].intersects(now[j])) << width;
        }
    }
}

TEST_F(FlowLayoutTest, WhatIsHiddenHasNoPlace) {
    all_[0]->hide();
    EXPECT_EQ(layout_->sizeHint().width(), 100 + 50 + 100 + 2 * 10);
    resize(500);
    EXPECT_EQ(all_[1]->x(), 0);
}

}  // namespace
}  // namespace lumivastor::ui
