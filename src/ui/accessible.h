// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QLabel;
class QWidget;

// What assistive programs learn of labels and windows.

namespace lumivastor::ui {

/// From now on assistive programs see this label as the window's status line. Call it before the label has a text:
/// what they were told of keeps its role.
void makeStatusLine(QLabel& label);

/// From now on assistive programs see this top-level widget as a window. Call it before the window has children.
/// Without this it is a container without a meaning, because only main windows and dialogs are windows for them by
/// themselves. Frames within it are groups for them; their accessible names are the groups' names.
void makeWindow(QWidget& window);

/// Has assistive programs read the text of a status line that has changed. The label's property "announced" has what
/// was read last.
void announce(QLabel& label);

}  // namespace lumivastor::ui
