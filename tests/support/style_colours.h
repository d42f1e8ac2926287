// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QColor>
#include <QMap>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <string>
#include <vector>

#include "ui/contrast.h"
#include "ui/theme.h"

// The colours of a style sheet, read from it, so that a test sees what the windows use.

namespace lumivastor {

/// The rules of a style sheet: the properties of each selector.
class StyleColours {
  public:
    explicit StyleColours(QString sheet) {
        static const QRegularExpression kComment("/\\*.*?\\*/", QRegularExpression::DotMatchesEverythingOption);
        static const QRegularExpression kRule("([^{}]+)\\{([^{}]*)\\}");
        sheet.remove(kComment);
        for (auto rules = kRule.globalMatch(sheet); rules.hasNext();) {
            const QRegularExpressionMatch rule = rules.next();
            for (const QString& selector : rule.captured(1).split(',')) {
                for (const QString& line : rule.captured(2).split(';')) {
                    const qsizetype colon = line.indexOf(':');
                    if (colon > 0) add(selector.trimmed(), line.left(colon).trimmed(), line.mid(colon + 1).trimmed());
                }
            }
        }
    }

    /// Expects text of every selector to be readable on what lies below it; text of disabled controls with a contrast
    /// of 3, which WCAG does not ask for. Returns the number of pairs.
    int expectReadableText(const std::vector<QColor>& surfaces) const {
        int pairs = 0;
        for (const QString& selector : order_) {
            if (!showsText(selector)) continue;
            const QColor text = colourOf(selector, "color");
            for (const QColor& background : below(selector, surfaces)) {
                ++pairs;
                const double least = selector.contains(":disabled") ? ui::kShapeContrast : ui::kTextContrast;
                EXPECT_GE(ui::contrast(text.isValid() ? text : ui::theme::kText, background), least)
                    << selector.toStdString() << ": " << text.name().toStdString() << " on "
                    << background.name().toStdString();
            }
        }
        return pairs;
    }

    /// Expects the ring of every control that has the keyboard to stand out from what is around it and from what it
    /// encloses. Returns their number.
    int expectVisibleFocus(const std::vector<QColor>& surfaces) const {
        int rings = 0;
        for (const QString& selector : order_) {
            if (!selector.endsWith(":focus")) continue;
            const QColor ring = colourOf(selector, "border-color");
            ++rings;
            EXPECT_TRUE(ring.isValid()) << selector.toStdString();
            std::vector<QColor> around = surfaces;
            // A slider's light handle is told from its ring by the ring's absence.
            if (!selector.contains("::handle")) {
                for (const QColor& inside : below(selector, surfaces)) around.push_back(inside);
            }
            for (const QColor& each : around) {
                EXPECT_GE(ui::contrast(ring, each), ui::kShapeContrast)
                    << selector.toStdString() << ": " << ring.name().toStdString() << " beside "
                    << each.name().toStdString();
            }
        }
        return rings;
    }

  private:
    void add(const QString& selector, const QString& property, const QString& value) {
        if (!rules_.contains(selector)) order_ << selector;
        rules_[selector][property] = value;
    }

    // Without its states, without its attributes, without both: what applies where a rule says nothing.
    static QStringList fallbacks(const QString& selector) {
        static const QRegularExpression kState("(?<!:):(?!:)[a-z-]+");
        static const QRegularExpression kAttribute("\\[[^\\]]*\\]");
        QString plain = selector;
        plain.remove(kState);
        QString general = selector;
        general.remove(kAttribute);
        QString both = general;
        both.remove(kState);
        return {selector, plain, general, both};
    }
    QString valueOf(const QString& selector, const QString& property) const {
        for (const QString& each : fallbacks(selector)) {
            const QString value = rules_.value(each).value(property);
            if (!value.isEmpty()) return value;
        }
        return {};
    }
    QColor colourOf(const QString& selector, const QString& property) const {
        const QString value = valueOf(selector, property);
        return value.startsWith('#') || QColor::isValidColor(value) ? QColor(value) : QColor();
    }
    std::vector<QColor> below(const QString& selector, const std::vector<QColor>& surfaces) const {
        const QString value = valueOf(selector, "background");
        if (value.isEmpty() || value == "transparent") return surfaces;
        return {colourOf(selector, "background")};
    }
    static bool showsText(const QString& selector) {
        for (const char* shape : {"QSlider", "QScroll", "QFrame", "QSplitter", "QProgressBar", "::indicator",
                                  "::drop-down", "::down-arrow", "::separator", "QDialogButtonBox QPush"}) {
            if (selector.contains(shape)) return false;
        }
        return true;
    }

    QStringList order_;
    QMap<QString, QMap<QString, QString>> rules_;
};

/// What lies below the controls of the windows.
inline std::vector<QColor> windowSurfaces() {
    return {ui::theme::kWindow, ui::theme::kColumn, ui::theme::kCard};
}

}  // namespace lumivastor
