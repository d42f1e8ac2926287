// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "editor/session/control_table.h"
#include "model/project_settings.h"

namespace lumivastor::editor {

/// sRGB, 0 to 1 each.
struct ColourValue {
    double red = 0, green = 0, blue = 0;

    bool operator==(const ColourValue&) const = default;
};

/// The value of one control: the number of a slider, the index of the selected segment or menu item (from 0; -1 for
/// none), whether a switch is on, or a colour.
using ControlValue = std::variant<double, int, bool, ColourValue>;

/// The values of all controls.
struct ControlValues {
    std::vector<ControlValue> all;  // as in `controlTable`

    /// By the name of the control, which must exist.
    ControlValue& operator[](std::string_view name) { return all[controlIndex(name)]; }
    const ControlValue& operator[](std::string_view name) const { return all[controlIndex(name)]; }

    bool operator==(const ControlValues&) const = default;
};

/// What the controls show for these settings. `zooms` are those in force; the zoom slider shows the selected one's
/// scale, and the scale of proposed zooms when none is selected.
ControlValues controlValues(const model::ProjectSettings& settings, const std::vector<model::ZoomSpec>& zooms,
                            int selectedZoom);

/// `before` with every field that has a control set from it. The webcam's fields stay as they are without a webcam.
/// `selectedZoom` counts the zooms in force, which are sorted by their start.
model::ProjectSettings settingsFrom(const ControlValues& values, const model::ProjectSettings& before, int selectedZoom,
                                    bool hasWebcam);

/// The German name of the step from one set of values to another: the control that differs, by its name for assistive
/// programs, or "Einstellung" if several do, or none.
std::string changeName(const ControlValues& before, const ControlValues& after);

/// The index in the list made by hand of the zoom with this index among the zooms in force; -1 when there is none. A
/// document may hold the list in any order.
int indexInList(const std::vector<model::ZoomSpec>& list, int indexInForce);

}  // namespace lumivastor::editor
