// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_accessible.h"

#include <QAccessibleWidget>
#include <QStringList>

#include "editor/timeline/timeline_strip.h"

namespace lumivastor::editor {

namespace {

constexpr const char* kNext = "Nächsten Zoom oder Schnitt wählen";
constexpr const char* kPrevious = "Vorigen Zoom oder Schnitt wählen";
constexpr const char* kDelete = "Auswahl löschen";

// A slider whose value is the playhead.
class AccessibleStrip final : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    explicit AccessibleStrip(TimelineStrip& strip) : QAccessibleWidget(&strip, QAccessible::Slider), strip_(strip) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }

    QString text(QAccessible::Text which) const override {
        if (which == QAccessible::Value) return strip_.valueText();
        // Few screen readers read the value as text; all of them read the description.
        if (which == QAccessible::Description) return strip_.valueText() + ". " + QAccessibleWidget::text(which);
        return QAccessibleWidget::text(which);
    }

    QVariant currentValue() const override { return strip_.playhead(); }
    void setCurrentValue(const QVariant& value) override {
        if (strip_.onScrub) strip_.onScrub(value.toDouble());
    }
    QVariant maximumValue() const override { return strip_.duration(); }
    QVariant minimumValue() const override { return 0.0; }
    QVariant minimumStepSize() const override { return strip_.frameSeconds(); }

    QStringList actionNames() const override {
        return QStringList{QString::fromUtf8(kNext), QString::fromUtf8(kPrevious), QString::fromUtf8(kDelete)} +
               QAccessibleWidget::actionNames();
    }
    QString localizedActionName(const QString& name) const override {
        return name == setFocusAction() ? QAccessibleWidget::localizedActionName(name) : name;
    }
    void doAction(const QString& name) override {
        if (name == QString::fromUtf8(kNext)) return strip_.selectNeighbour(true);
        if (name == QString::fromUtf8(kPrevious)) return strip_.selectNeighbour(false);
        if (name == QString::fromUtf8(kDelete)) return strip_.deleteSelection();
        QAccessibleWidget::doAction(name);
    }

  private:
    TimelineStrip& strip_;
};

QAccessibleInterface* accessibleOf(const QString&, QObject* object) {
    auto* strip = dynamic_cast<TimelineStrip*>(object);
    return strip != nullptr ? new AccessibleStrip(*strip) : nullptr;
}

}  // namespace

void installAccessibleStrip() {
    // Does nothing when it is installed already.
    QAccessible::installFactory(accessibleOf);
}

}  // namespace lumivastor::editor
