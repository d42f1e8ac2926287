// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <functional>
#include <string>

#include "editor/exports/export_choice.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QFormLayout;

namespace lumivastor::ui {
class ElidedLabel;
}

namespace lumivastor::editor {

/// "Exportieren als …": form, size, part and place of one export. What the answers mean is in export_choice.h. Main
/// thread.
class ExportDialog final : public QDialog {
  public:
    struct Callbacks {
        /// Why the choice cannot be exported; empty when it can.
        std::function<std::string(const ExportChoice& choice)> obstacle;
        /// The user wants this. The dialog is closing.
        std::function<void(const ExportChoice& choice)> exportAs;
    };

    ExportDialog(QWidget& window, const FilmFacts& film, const ExportChoice& choice, Callbacks callbacks);

    const ExportChoice& choice() const { return choice_; }

  private:
    void build();
    void addRow(const QString& caption, QWidget* control);
    QComboBox* box(const char* name, const QString& accessible, const QString& tip);
    QDoubleSpinBox* secondsBox(const char* name, const QString& accessible, const QString& tip);
    void formChanged();
    void changed();
    void chooseFolder();
    void attempt();
    void finish();

    const FilmFacts film_;
    ExportChoice choice_;
    const Callbacks callbacks_;
    bool isBuilt_ = false;  // until then, what the boxes report is their filling
    QFormLayout* rows_;
    QComboBox* form_;
    QComboBox* height_;
    QCheckBox* chapters_;
    QComboBox* width_;
    QComboBox* rate_;
    QDoubleSpinBox* from_;
    QDoubleSpinBox* to_;
    QLineEdit* name_;
    ui::ElidedLabel* folder_;
    QLabel* note_;
    QLabel* fault_;
    QPushButton* exportButton_;
};

}  // namespace lumivastor::editor
