// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/accessible.h"

#include <QAccessibleWidget>
#include <QFrame>
#include <QLabel>

namespace lumivastor::ui {

namespace {

constexpr const char* kIsStatusLine = "isStatusLine";
constexpr const char* kIsWindow = "isWindow";

class AccessibleStatusLine final : public QAccessibleWidget {
  public:
    explicit AccessibleStatusLine(QLabel& label) : QAccessibleWidget(&label, QAccessible::StatusBar), label_(label) {}

    QString text(QAccessible::Text which) const override {
        return which == QAccessible::Name ? label_.text() : QAccessibleWidget::text(which);
    }

  private:
    QLabel& label_;
};

QAccessibleInterface* accessibleOf(const QString&, QObject* object) {
    auto* label = qobject_cast<QLabel*>(object);
    if (label != nullptr && label->property(kIsStatusLine).toBool()) return new AccessibleStatusLine(*label);
    auto* widget = qobject_cast<QWidget*>(object);
    if (widget == nullptr) return nullptr;
    if (widget->property(kIsWindow).toBool()) return new QAccessibleWidget(widget, QAccessible::Window);
    // Qt tells of frames around widgets by a role that others use for windows.
    if (object->metaObject() != &QFrame::staticMetaObject) return nullptr;
    const bool isLine = widget->property("role") == "line";
    return new QAccessibleWidget(widget, isLine ? QAccessible::Separator : QAccessible::Grouping);
}

}  // namespace

void makeStatusLine(QLabel& label) {
    // Does nothing when it is installed already.
    QAccessible::installFactory(accessibleOf);
    label.setProperty(kIsStatusLine, true);
}

void makeWindow(QWidget& window) {
    QAccessible::installFactory(accessibleOf);
    window.setProperty(kIsWindow, true);
}

void announce(QLabel& label) {
    if (label.text().isEmpty()) return;
    label.setProperty("announced", label.text());
    if (!QAccessible::isActive()) return;
    // Some programs read a status line whose name changes, others what alerts.
    for (const QAccessible::Event type : {QAccessible::NameChanged, QAccessible::Alert}) {
        QAccessibleEvent event(&label, type);
        QAccessible::updateAccessibility(&event);
    }
}

}  // namespace lumivastor::ui
