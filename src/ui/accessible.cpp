// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/accessible.h"

#include <QAccessibleWidget>
#include <QLabel>

namespace lumivastor::ui {

namespace {

constexpr const char* kIsStatusLine = "isStatusLine";

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
    return label != nullptr && label->property(kIsStatusLine).toBool() ? new AccessibleStatusLine(*label) : nullptr;
}

}  // namespace

void makeStatusLine(QLabel& label) {
    // Does nothing when it is installed already.
    QAccessible::installFactory(accessibleOf);
    label.setProperty(kIsStatusLine, true);
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
