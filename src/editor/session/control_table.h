// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "model/project_settings.h"
#include "ui/control_range.h"

// The controls of the settings beside the preview, as a table with one entry for each. `SettingsColumn` builds the
// widgets from it; control_values.h says what they show and what they change.

namespace lumivastor::editor {

/// The names of a control: for tests (`name`), for assistive programs, and its tool tip.
struct ControlNames {
    const char* name;
    const char* accessible;
    const char* toolTip;
};

/// A slider. A double click takes it to the default of its field.
struct SliderControl {
    double model::ProjectSettings::*field;
    ui::ControlRange range;
    std::string (*text)(double value);
};

/// A slider of an optional field, which is 0 while it is absent, and absent again at 0. A double click takes it there.
struct OffsetControl {
    std::optional<double> model::ProjectSettings::*field;
    ui::ControlRange range;
    std::string (*text)(double value);
};

/// The slider of the magnification: of the selected zoom in a list made by hand, and always of `zoomScale`, which is
/// the magnification of proposed zooms.
struct ZoomControl {
    ui::ControlRange range;
    std::string (*text)(double value);
};

/// A colour well.
struct ColourControl {
    double model::ProjectSettings::*red;
    double model::ProjectSettings::*green;
    double model::ProjectSettings::*blue;
};

/// A field that is on or off.
struct SwitchField {
    bool (*get)(const model::ProjectSettings& settings);
    void (*set)(model::ProjectSettings& settings, bool isOn);
};

/// An optional field is absent while it is off.
template <auto Field>
inline constexpr SwitchField kSwitchField = {
    [](const model::ProjectSettings& settings) {
        if constexpr (std::is_same_v<std::remove_cvref_t<decltype(settings.*Field)>, bool>) {
            return settings.*Field;
        } else {
            return (settings.*Field).value_or(false);
        }
    },
    [](model::ProjectSettings& settings, bool isOn) {
        if constexpr (std::is_same_v<std::remove_cvref_t<decltype(settings.*Field)>, bool>) {
            settings.*Field = isOn;
        } else if (isOn != (settings.*Field).value_or(false)) {
            settings.*Field = isOn ? std::optional(true) : std::nullopt;
        }
    }};

/// A check box; `text` is beside the box.
struct SwitchControl {
    SwitchField field;
    std::string_view text;
};

/// A field that is a whole number or an enumeration, as a whole number.
struct ChoiceField {
    std::int64_t (*get)(const model::ProjectSettings& settings);
    void (*set)(model::ProjectSettings& settings, std::int64_t value);
};

template <auto Field>
inline constexpr ChoiceField kChoiceField = {
    [](const model::ProjectSettings& settings) { return static_cast<std::int64_t>(settings.*Field); },
    [](model::ProjectSettings& settings, std::int64_t value) {
        settings.*Field = static_cast<std::remove_reference_t<decltype(settings.*Field)>>(value);
    }};

/// One of the values that a field can be set to. They are shown in the order of their list.
struct Choice {
    std::string_view title;
    std::int64_t value;
};

struct Choices {
    ChoiceField field;
    std::span<const Choice> list;
    /// Whether a value that is none of these survives edits of other controls. If not, the first choice replaces it.
    bool keepsOthers = true;
};

/// A row of segments.
struct SegmentControl {
    Choices choices;
};

/// A pop-up menu.
struct MenuControl {
    Choices choices;
};

struct Control {
    /// The heading of its card. Controls of one card follow each other in the table.
    std::string_view card;
    std::string_view caption;
    ControlNames names;
    std::variant<SliderControl, OffsetControl, ZoomControl, ColourControl, SwitchControl, SegmentControl, MenuControl>
        kind;
    /// Without a webcam there is no such control, and its fields stay as they are.
    bool needsWebcam = false;
    /// Without the pointer's positions the control is disabled: nothing that it changes is drawn.
    bool needsPointer = false;
};

/// All controls, in the order in which they are shown.
std::span<const Control> controlTable();

/// The place in the table of the control with this name, which must exist.
std::size_t controlIndex(std::string_view name);

/// The card that says what is not known of the pointer.
inline constexpr std::string_view kPointerCard = "Cursor";

/// The name of the one `ZoomControl`. The tools below the preview have a second slider for it.
inline constexpr const char* kZoomSlider = "zoomSlider";

}  // namespace lumivastor::editor
