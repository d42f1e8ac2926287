// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "editor/editor_actions.h"
#include "editor/session/control_table.h"
#include "editor/session/control_values.h"

class QScrollArea;
class QWidget;

namespace lumivastor::editor {

/// The column of settings beside the preview: the controls of `controlTable`, on a card for each kind. Main thread.
class SettingsColumn {
  public:
    /// What a recording has and knows.
    struct Recording {
        bool hasWebcam = false;
        bool knowsPositions = true;
        std::string pointerNote = {};  // on the cursor's card; empty: none
    };

    /// Calls `actions.applyControls` after each movement of a control.
    SettingsColumn(const Recording& recording, const EditorActions& actions);
    SettingsColumn(const SettingsColumn&) = delete;
    SettingsColumn& operator=(const SettingsColumn&) = delete;

    /// The widget. It belongs to the layout that it is added to.
    QScrollArea* area() const { return area_; }
    /// Widens the column to its widest control, in the fonts that the style sheet has set.
    void fitWidth();

    /// The values that the widgets have. Controls that are not shown have the value of the last `setValues`.
    ControlValues values() const;
    /// Sets the widgets and the labels of sliders, without an action.
    void setValues(const ControlValues& values);

  private:
    struct Row {
        std::size_t control;  // its place in the table
        std::function<ControlValue()> value;
        std::function<void(const ControlValue& value)> setValue;
    };
    class RowBuilder;

    QWidget* makeCards(const Recording& recording, const std::function<void()>& changed);

    std::vector<Row> rows_;
    ControlValues lastSet_;
    QScrollArea* area_;
};

}  // namespace lumivastor::editor
