// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/recordings_model.h"

#include <QImage>
#include <QStringList>
#include <utility>

#include "app/library/recording_texts.h"
#include "base/byte_text.h"

namespace lumivastor::app {

namespace {

QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

QPixmap pixmapOf(const imaging::BgraPremultipliedBuffer& picture) {
    return QPixmap::fromImage(QImage(picture.row(0), picture.width(), picture.height(),
                                     static_cast<qsizetype>(picture.stride()), QImage::Format_ARGB32_Premultiplied)
                                  .copy());
}

}  // namespace

RecordingsModel::RecordingsModel(std::filesystem::path root,
                                 std::function<void(const std::filesystem::path&, const std::string&)> renamed)
    : root_(std::move(root)), renamed_(std::move(renamed)) {}

void RecordingsModel::setRows(std::vector<RecordingEntry> rows,
                              const std::function<Picture(const std::filesystem::path&)>& picture) {
    bool isSameList = rows.size() == rows_.size();
    for (std::size_t i = 0; isSameList && i < rows.size(); ++i) isSameList = rows[i].folder == rows_[i].folder;
    if (!isSameList) beginResetModel();
    std::map<std::filesystem::path, Shown> pictures;
    for (const RecordingEntry& entry : rows) {
        const Picture source = picture(entry.folder);
        if (!source) continue;
        Shown& shown = pictures[entry.folder];
        if (const auto known = pictures_.find(entry.folder); known != pictures_.end()) shown = known->second;
        if (shown.source != source) shown = {source, pixmapOf(*source)};
    }
    pictures_ = std::move(pictures);
    rows_ = std::move(rows);
    if (!isSameList) {
        endResetModel();
    } else if (!rows_.empty()) {
        dataChanged(index(0, 0), index(static_cast<int>(rows_.size()) - 1, columns - 1));
    }
}

const RecordingEntry* RecordingsModel::entry(const QModelIndex& index) const {
    if (!index.isValid() || static_cast<std::size_t>(index.row()) >= rows_.size()) return nullptr;
    return &rows_[static_cast<std::size_t>(index.row())];
}

std::optional<int> RecordingsModel::rowOf(const std::filesystem::path& folder) const {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        if (rows_[i].folder == folder) return static_cast<int>(i);
    }
    return std::nullopt;
}

QPixmap RecordingsModel::picture(const QModelIndex& index) const {
    const RecordingEntry* const shown = entry(index);
    if (shown == nullptr) return {};
    const auto found = pictures_.find(shown->folder);
    return found != pictures_.end() ? found->second.pixels : QPixmap();
}

QString RecordingsModel::detail(const QModelIndex& index) const {
    const RecordingEntry* const shown = entry(index);
    return shown != nullptr ? qt(detailText(*shown, root_)) : QString();
}

int RecordingsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int RecordingsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns;
}

QString RecordingsModel::text(const RecordingEntry& entry, int column) const {
    switch (column) {
        case name:
            return qt(entry.name());
        case date:
            return entry.createdAt ? qt(dateText(*entry.createdAt)) : QString();
        case length:
            return entry.duration ? qt(lengthText(*entry.duration)) : QString("–");
        case size:
            return entry.bytes ? qt(byteText(*entry.bytes)) : QString("…");
        default:
            break;
    }
    QStringList badges;
    for (const Badge& badge : badgesOf(entry)) badges << qt(badge.text);
    return badges.join(", ");
}

QVariant RecordingsModel::data(const QModelIndex& index, int role) const {
    const RecordingEntry* const shown = entry(index);
    if (shown == nullptr) return {};
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return text(*shown, index.column());
        case Qt::AccessibleTextRole:
            return index.column() == name ? qt(spokenText(*shown)) : text(*shown, index.column());
        case Qt::ToolTipRole:
            if (index.column() == name) return qt(shown->folder.string());
            if (index.column() == state && !shown->fault.empty()) return qt(shown->fault);
            if (index.column() == state && shown->renderedAt) return "Gerendert am " + qt(dateText(*shown->renderedAt));
            return {};
        case Qt::TextAlignmentRole:
            return static_cast<int>(index.column() == length || index.column() == size
                                        ? Qt::AlignRight | Qt::AlignVCenter
                                        : Qt::AlignLeft | Qt::AlignVCenter);
        default:
            return {};
    }
}

QVariant RecordingsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    static constexpr const char* kTitles[columns] = {"Name", "Datum", "Länge", "Größe", "Stand"};
    if (orientation != Qt::Horizontal || section < 0 || section >= columns) return {};
    if (role == Qt::DisplayRole) return kTitles[section];
    if (role == Qt::TextAlignmentRole) {
        return static_cast<int>((section == length || section == size ? Qt::AlignRight : Qt::AlignLeft) |
                                Qt::AlignVCenter);
    }
    return {};
}

Qt::ItemFlags RecordingsModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags usual = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    return index.column() == name ? usual | Qt::ItemIsEditable : usual;
}

bool RecordingsModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const RecordingEntry* const shown = entry(index);
    if (shown == nullptr || role != Qt::EditRole || index.column() != name) return false;
    // A copy: the rows change meanwhile.
    const std::filesystem::path folder = shown->folder;
    renamed_(folder, value.toString().toStdString());
    return true;
}

}  // namespace lumivastor::app
