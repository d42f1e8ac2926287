// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QLabel;

// What assistive programs learn of labels.

namespace lumivastor::ui {

/// From now on assistive programs see this label as the window's status line.
void makeStatusLine(QLabel& label);

/// Has assistive programs read the text of a status line that has changed. The label's property "announced" has what
/// was read last.
void announce(QLabel& label);

}  // namespace lumivastor::ui
