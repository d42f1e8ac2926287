// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/theme.h"

#include <QApplication>
#include <QFile>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QPalette>
#include <QScreen>
#include <QStyleFactory>
#include <QWidget>
#include <algorithm>
#include <cmath>

// Resources of a static library must be initialised, by a function outside of all namespaces.
static void initResources() {
    Q_INIT_RESOURCE(ui);
}

namespace lumivastor::ui::theme {

namespace {

constexpr double kMinimumBody = 10;
constexpr double kUsualDotsPerInch = 96;
constexpr double kSmall = 0.9;
constexpr double kLarge = 1.15;
// Heights of the content of controls, in points.
constexpr int kMinimumControl = 20;
constexpr int kMinimumSegment = 18;
constexpr int kBox = 14;
constexpr int kTreeBox = 12;

QString points(double size) {
    return QString::number(size, 'f', 2) + "pt";
}

QPalette palette() {
    QPalette palette;
    palette.setColor(QPalette::Window, kWindow);
    palette.setColor(QPalette::WindowText, kText);
    palette.setColor(QPalette::Base, kCard);
    palette.setColor(QPalette::AlternateBase, kColumn);
    palette.setColor(QPalette::Text, kText);
    palette.setColor(QPalette::PlaceholderText, kSecondText);
    palette.setColor(QPalette::Button, kControl);
    palette.setColor(QPalette::ButtonText, kText);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Light, kControlHover);
    palette.setColor(QPalette::Midlight, kControl);
    palette.setColor(QPalette::Mid, kLine);
    palette.setColor(QPalette::Dark, kWindow);
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Highlight, kAccent);
    palette.setColor(QPalette::HighlightedText, kOnAccent);
    palette.setColor(QPalette::Link, kAccent);
    palette.setColor(QPalette::ToolTipBase, kCard);
    palette.setColor(QPalette::ToolTipText, kText);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, kDisabledText);
    }
    return palette;
}

}  // namespace

TypeScale typeScale(const QFont& base) {
    const double body = std::max(base.pointSizeF(), kMinimumBody);
    return {body * kSmall, body, body * kLarge};
}

double typeFactor(const QFont& base) {
    // Desktops enlarge type by its size or by the dots of an inch.
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const double dots = screen == nullptr ? kUsualDotsPerInch : screen->logicalDotsPerInchY();
    return std::max(typeScale(base).body / kMinimumBody * dots / kUsualDotsPerInch, 1.0);
}

int iconSide(int usual) {
    // Beyond this they would be larger than the text beside them looks.
    constexpr double kMostGrowth = 1.6;
    return static_cast<int>(std::lround(usual * std::min(typeFactor(QApplication::font()), kMostGrowth)));
}

void apply(QApplication& application) {
    initResources();
    application.setStyle(QStyleFactory::create("Fusion"));
    application.setPalette(palette());
    if (QFontDatabase::hasFamily("Inter")) {
        QFont font = application.font();
        font.setFamily("Inter");
        application.setFont(font);
    }
}

QString styleSheet(const QFont& base) {
    initResources();
    QFile file(":/ui/theme.qss");
    if (!file.open(QIODevice::ReadOnly)) return {};
    QString text = QString::fromUtf8(file.readAll());
    const TypeScale type = typeScale(base);
    // A height in a style sheet replaces the minimum that the text needs.
    QFont small = base;
    small.setPointSizeF(type.small);
    const int line = QFontMetrics(small).height();
    const std::pair<const char*, QString> values[] = {
        {"@control-height", QString::number(std::max(kMinimumControl, line + 3)) + "px"},
        {"@box-side", QString::number(iconSide(kBox)) + "px"},
        {"@tree-box-side", QString::number(iconSide(kTreeBox)) + "px"},
        {"@segment-height", QString::number(std::max(kMinimumSegment, line + 1)) + "px"},
        {"@accent-hover", kAccent.lighter(112).name()},
        {"@accent-pressed", kAccent.darker(112).name()},
        {"@accent-focus", kAccent.darker(118).name()},
        {"@accent", kAccent.name()},
        {"@on-accent", kOnAccent.name()},
        {"@window", kWindow.name()},
        {"@column", kColumn.name()},
        {"@card", kCard.name()},
        {"@line", kLine.name()},
        {"@control-hover", kControlHover.name()},
        {"@control-pressed", kControlPressed.name()},
        {"@control", kControl.name()},
        {"@track", kTrack.name()},
        {"@outline", kOutline.name()},
        {"@text", kText.name()},
        {"@second-text", kSecondText.name()},
        {"@disabled-text", kDisabledText.name()},
        {"@focus", kFocus.name()},
        {"@small-type", points(type.small)},
        {"@body-type", points(type.body)},
        {"@large-type", points(type.large)},
    };
    for (const auto& [name, value] : values) text.replace(name, value);
    return text;
}

int smallTextWidth(const QString& text) {
    QFont font = QApplication::font();
    font.setPointSizeF(typeScale(font).small);
    return QFontMetrics(font).horizontalAdvance(text) + kTight;
}

void spaceCapitals(QWidget& label) {
    QFont font = label.font();
    font.setLetterSpacing(QFont::PercentageSpacing, 106);
    label.setFont(font);
}

}  // namespace lumivastor::ui::theme
