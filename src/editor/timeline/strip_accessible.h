// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor::editor {

/// From now on assistive programs read a strip's selection, playhead and visible part as its value, and
/// can move the playhead, and select and delete zooms and cuts.
void installAccessibleStrip();

}  // namespace lumivastor::editor
