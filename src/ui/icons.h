// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace lumivastor::ui {

/// The drawing icons/`name`.svg in one colour; disabled icons have the colour of disabled text. It is drawn for each
/// size and screen, so it is sharp everywhere. If a size is wider than high, the drawing is at its left.
QIcon icon(const QString& name, const QColor& colour);
/// The same in the colour of text.
QIcon icon(const QString& name);

}  // namespace lumivastor::ui
