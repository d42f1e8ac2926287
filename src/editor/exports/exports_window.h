// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "editor/exports/export_queue.h"

class QLabel;
class QProgressBar;
class QPushButton;
class QVBoxLayout;

namespace lumivastor::editor {

/// "Exporte": the list of what waits, runs and has ended. Main thread.
class ExportsWindow final : public QWidget {
  public:
    struct Callbacks {
        std::function<void(const std::filesystem::path& film)> play;
        std::function<void(const std::filesystem::path& film)> reveal;
    };

    /// The queue outlives the window.
    ExportsWindow(ExportQueue& queue, Callbacks callbacks);
    ~ExportsWindow() override;

    /// A sentence below the list; empty for none.
    void setStatus(const std::string& text);

  private:
    struct Row;

    void refresh();
    std::unique_ptr<Row> makeRow(int id);
    void showEntry(Row& row, const ExportEntry& entry);

    ExportQueue& queue_;
    const Callbacks callbacks_;
    QVBoxLayout* list_;
    QLabel* empty_;
    QLabel* status_;
    QPushButton* clearButton_;
    std::vector<std::unique_ptr<Row>> rows_;
    std::shared_ptr<void> observation_;
};

}  // namespace lumivastor::editor
