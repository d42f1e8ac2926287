// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractTableModel>
#include <QPixmap>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/library/recording_search.h"
#include "imaging/pixel_buffer.h"

namespace lumivastor::app {

/// The rows of the list of recordings. Cells have their texts, and for assistive programs the whole row in the first
/// column. Main thread.
class RecordingsModel final : public QAbstractTableModel {
  public:
    enum Column { name, date, length, size, state, columns };

    /// `renamed` gets the name that was typed for a row's folder.
    RecordingsModel(std::filesystem::path root,
                    std::function<void(const std::filesystem::path&, const std::string&)> renamed);

    using Picture = std::shared_ptr<const imaging::BgraPremultipliedBuffer>;
    /// Shows these rows. Where only texts and pictures differ, the view keeps its place.
    void setRows(std::vector<RecordingEntry> rows, const std::function<Picture(const std::filesystem::path&)>& picture);

    const RecordingEntry* entry(const QModelIndex& index) const;
    std::optional<int> rowOf(const std::filesystem::path& folder) const;
    /// Null without one.
    QPixmap picture(const QModelIndex& index) const;
    QString detail(const QModelIndex& index) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

  private:
    QString text(const RecordingEntry& entry, int column) const;

    const std::filesystem::path root_;
    const std::function<void(const std::filesystem::path&, const std::string&)> renamed_;
    std::vector<RecordingEntry> rows_;
    struct Shown {
        Picture source;
        QPixmap pixels;
    };
    std::map<std::filesystem::path, Shown> pictures_;
};

}  // namespace lumivastor::app
