// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace lumivastor::ui {

/// One of the drawings in icons/, by its file's name without the ending, in one colour; paler where it is disabled.
/// Drawn anew for every size and screen, so that it is sharp on all of them. A size that is wider than high has room
/// behind the drawing.
QIcon icon(const QString& name, const QColor& colour);
/// In the colour of text.
QIcon icon(const QString& name);

}  // namespace lumivastor::ui
