// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

namespace lumivastor::editor {

/// The page of all keys of the editor, made from the table of commands. It stays open beside the editor; Esc and the
/// keys that open it close it.
class KeyPage final : public QDialog {
  public:
    explicit KeyPage(QWidget* parent);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace lumivastor::editor
