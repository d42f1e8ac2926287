// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QApplication;
class QWidget;

// The theme of all windows: one set of colours, one scale of type and spacing. The style sheet (theme.qss) and the
// widgets that paint themselves take them from here.

namespace lumivastor::ui::theme {

inline constexpr QColor kAccent = QColor(0xFF, 0x6B, 0x1A);  // (1.0, 0.42, 0.10)
inline constexpr QColor kWindow = QColor(0x15, 0x16, 0x19);
/// Around the preview, where it does not fill its area.
inline constexpr QColor kStage = QColor(0x0E, 0x0F, 0x11);
inline constexpr QColor kColumn = QColor(0x1B, 0x1C, 0x20);
inline constexpr QColor kCard = QColor(0x23, 0x24, 0x29);
inline constexpr QColor kLine = QColor(0x30, 0x31, 0x38);
inline constexpr QColor kControl = QColor(0x32, 0x34, 0x3B);
inline constexpr QColor kControlHover = QColor(0x3C, 0x3E, 0x47);
inline constexpr QColor kControlPressed = QColor(0x2B, 0x2C, 0x32);
inline constexpr QColor kTrack = QColor(0x45, 0x47, 0x50);
/// The outline of what is seen by its outline only: a box that is not checked, a text field, the selected segment.
inline constexpr QColor kOutline = QColor(0x80, 0x82, 0x8B);
inline constexpr QColor kText = QColor(0xF1, 0xF1, 0xF3);
inline constexpr QColor kSecondText = QColor(0xA9, 0xAB, 0xB4);
inline constexpr QColor kDisabledText = QColor(0x80, 0x82, 0x8B);
/// Text on the accent colour.
inline constexpr QColor kOnAccent = QColor(0x1E, 0x0D, 0x03);
/// The ring around the widget that has the keyboard focus.
inline constexpr QColor kFocus = QColor(0xFF, 0xB0, 0x85);
/// The wider dark line under lines on pictures, which may have any colour.
inline constexpr QColor kUnder = QColor(0, 0, 0, 205);

// Spacing, in points; everything is a multiple of the smallest.
inline constexpr int kTight = 4;
inline constexpr int kNear = 8;
inline constexpr int kApart = 12;
inline constexpr int kMargin = 16;

/// The point sizes of type, derived from the desktop's size.
struct TypeScale {
    double small, body, large;
};
TypeScale typeScale(const QFont& base);

/// How many times larger type is on the screen than the usual type, at least 1. What is laid down in points for the
/// usual type grows with it.
double typeFactor(const QFont& base);

/// The side of an icon or a box beside text, in points, that has this side with type of the usual size.
int iconSide(int usual);

/// Sets the colours and the style of all windows.
void apply(QApplication& application);

/// The style sheet of a window, with the type sizes for the font `base`.
QString styleSheet(const QFont& base);

/// The width of a text in the small type, in points, with a small reserve because digits differ in width.
int smallTextWidth(const QString& text);

/// Spaces the letters of a heading in capitals.
void spaceCapitals(QWidget& label);

}  // namespace lumivastor::ui::theme
