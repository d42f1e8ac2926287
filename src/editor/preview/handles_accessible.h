// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor::editor {

/// From now on assistive programs read what is selected in the preview as the value of `PreviewHandlesView`, and can
/// select, move, size and delete there.
void installAccessibleHandles();

}  // namespace lumivastor::editor
