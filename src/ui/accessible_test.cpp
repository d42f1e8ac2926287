// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/accessible.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QFrame>
#include <QLabel>

namespace lumivastor::ui {
namespace {

TEST(Accessible, WindowsAreWindowsAndFramesAreGroups) {
    QWidget window;
    makeWindow(window);
    auto* const card = new QFrame(&window);
    card->setAccessibleName("Kamera");
    auto* const line = new QFrame(&window);
    line->setProperty("role", "line");
    auto* const label = new QLabel("Text", &window);
    const auto roleOf = [](QWidget* widget) { return QAccessible::queryAccessibleInterface(widget)->role(); };
    EXPECT_EQ(roleOf(&window), QAccessible::Window);
    EXPECT_EQ(roleOf(card), QAccessible::Grouping);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(card)->text(QAccessible::Name), "Kamera");
    EXPECT_EQ(roleOf(line), QAccessible::Separator);
    EXPECT_EQ(roleOf(label), QAccessible::StaticText) << "what only derives from a frame keeps its role";
    auto* const status = new QLabel(&window);
    makeStatusLine(*status);
    status->setText("Bereit.");
    EXPECT_EQ(roleOf(status), QAccessible::StatusBar);
}

}  // namespace
}  // namespace lumivastor::ui
