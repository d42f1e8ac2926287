// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/handles_accessible.h"

#include <QAccessibleWidget>
#include <QStringList>

#include "editor/preview/preview_handles_view.h"

namespace lumivastor::editor {

namespace {

using Action = PreviewHandlesView::Action;

struct Named {
    Action action;
    const char* name;
};
constexpr Named kActions[] = {{Action::selectNext, "Nächstes Element wählen"},
                              {Action::left, "Nach links"},
                              {Action::right, "Nach rechts"},
                              {Action::up, "Nach oben"},
                              {Action::down, "Nach unten"},
                              {Action::larger, "Größer"},
                              {Action::smaller, "Kleiner"},
                              {Action::remove, "Löschen"}};

class AccessibleHandles final : public QAccessibleWidget {
  public:
    explicit AccessibleHandles(PreviewHandlesView& view)
        : QAccessibleWidget(&view, QAccessible::Grouping), view_(view) {}

    QString text(QAccessible::Text which) const override {
        return which == QAccessible::Value ? view_.accessibleDescription() : QAccessibleWidget::text(which);
    }
    QStringList actionNames() const override {
        QStringList names;
        for (const Named& each : kActions) names << QString::fromUtf8(each.name);
        return names + QAccessibleWidget::actionNames();
    }
    QString localizedActionName(const QString& name) const override {
        return name == setFocusAction() ? QAccessibleWidget::localizedActionName(name) : name;
    }
    void doAction(const QString& name) override {
        for (const Named& each : kActions) {
            if (name == QString::fromUtf8(each.name) && view_.onAction) return view_.onAction(each.action);
        }
        QAccessibleWidget::doAction(name);
    }

  private:
    PreviewHandlesView& view_;
};

QAccessibleInterface* accessibleOf(const QString&, QObject* object) {
    auto* view = dynamic_cast<PreviewHandlesView*>(object);
    return view != nullptr ? new AccessibleHandles(*view) : nullptr;
}

}  // namespace

void installAccessibleHandles() {
    // Does nothing when it is installed already.
    QAccessible::installFactory(accessibleOf);
}

}  // namespace lumivastor::editor
