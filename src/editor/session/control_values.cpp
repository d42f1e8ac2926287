// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/control_values.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <optional>

namespace lumivastor::editor {

namespace {

// How each kind of control reads its fields, and how it sets them.

struct Reader {
    const model::ProjectSettings& settings;
    const std::vector<model::ZoomSpec>& zooms;
    int selectedZoom;

    ControlValue operator()(const SliderControl& control) const { return settings.*control.field; }
    ControlValue operator()(const OffsetControl& control) const { return (settings.*control.field).value_or(0); }
    ControlValue operator()(const ZoomControl&) const {
        const bool isSelected = selectedZoom >= 0 && selectedZoom < static_cast<int>(zooms.size());
        return isSelected ? zooms[static_cast<std::size_t>(selectedZoom)].scale : settings.zoomScale;
    }
    ControlValue operator()(const ColourControl& control) const {
        return ColourValue{settings.*control.red, settings.*control.green, settings.*control.blue};
    }
    ControlValue operator()(const SwitchControl& control) const { return control.field.get(settings); }
    ControlValue operator()(const SegmentControl& control) const { return index(control.choices); }
    ControlValue operator()(const MenuControl& control) const { return index(control.choices); }

    int index(const Choices& choices) const {
        const auto found =
            std::find_if(choices.list.begin(), choices.list.end(),
                         [value = choices.field.get(settings)](const Choice& each) { return each.value == value; });
        return found == choices.list.end() ? -1 : static_cast<int>(found - choices.list.begin());
    }
};

struct Setter {
    const ControlValue& value;
    model::ProjectSettings& settings;
    int selectedZoom;

    void operator()(const SliderControl& control) const { settings.*control.field = std::get<double>(value); }
    void operator()(const OffsetControl& control) const {
        const auto offset = std::get<double>(value);
        auto& field = settings.*control.field;
        if (offset == field.value_or(0)) return;
        field = offset == 0 ? std::nullopt : std::optional(offset);
    }
    void operator()(const ZoomControl&) const {
        settings.zoomScale = std::get<double>(value);
        if (!settings.zooms) return;
        const int index = indexInList(*settings.zooms, selectedZoom);
        if (index >= 0) (*settings.zooms)[static_cast<std::size_t>(index)].scale = settings.zoomScale;
    }
    void operator()(const ColourControl& control) const {
        const auto& colour = std::get<ColourValue>(value);
        settings.*control.red = colour.red;
        settings.*control.green = colour.green;
        settings.*control.blue = colour.blue;
    }
    void operator()(const SwitchControl& control) const { control.field.set(settings, std::get<bool>(value)); }
    void operator()(const SegmentControl& control) const { choose(control.choices); }
    void operator()(const MenuControl& control) const { choose(control.choices); }

    void choose(const Choices& choices) const {
        const int selected = std::get<int>(value);
        const int index = choices.keepsOthers ? selected : std::max(selected, 0);
        if (index < 0 || index >= static_cast<int>(choices.list.size())) return;
        choices.field.set(settings, choices.list[static_cast<std::size_t>(index)].value);
    }
};

}  // namespace

ControlValues controlValues(const model::ProjectSettings& settings, const std::vector<model::ZoomSpec>& zooms,
                            int selectedZoom) {
    ControlValues values;
    for (const Control& control : controlTable()) {
        values.all.push_back(std::visit(Reader{settings, zooms, selectedZoom}, control.kind));
    }
    return values;
}

model::ProjectSettings settingsFrom(const ControlValues& values, const model::ProjectSettings& before, int selectedZoom,
                                    bool hasWebcam) {
    model::ProjectSettings settings = before;
    const std::span<const Control> table = controlTable();
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (table[i].needsWebcam && !hasWebcam) continue;
        std::visit(Setter{values.all[i], settings, selectedZoom}, table[i].kind);
    }
    return settings;
}

std::string changeName(const ControlValues& before, const ControlValues& after) {
    const std::span<const Control> table = controlTable();
    const Control* changed = nullptr;
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (before.all[i] == after.all[i]) continue;
        if (changed != nullptr) return "Einstellung";
        changed = &table[i];
    }
    return changed == nullptr ? "Einstellung" : changed->names.accessible;
}

int indexInList(const std::vector<model::ZoomSpec>& list, int indexInForce) {
    if (indexInForce < 0 || indexInForce >= static_cast<int>(list.size())) return -1;
    std::vector<int> order(list.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&list](int a, int b) {
        return list[static_cast<std::size_t>(a)].start < list[static_cast<std::size_t>(b)].start;
    });
    return order[static_cast<std::size_t>(indexInForce)];
}

}  // namespace lumivastor::editor
