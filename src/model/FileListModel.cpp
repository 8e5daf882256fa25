#include "model/FileListModel.hpp"

#include <algorithm>

namespace quorvel {

int FileListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(items_.size());
}

QVariant FileListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const FileItem* item = items_[static_cast<std::size_t>(index.row())].get();
    switch (role) {
    case ItemRole: return QVariant::fromValue(const_cast<FileItem*>(item));
    case Qt::DisplayRole:
    case FileNameRole: return item->fileName();
    case StatusRole: return item->status();
    case StateRole: return QVariant::fromValue(item->state());
    case ConfidenceRole: return item->confidence();
    }
    return {};
}

QHash<int, QByteArray> FileListModel::roleNames() const
{
    return {{ItemRole, "item"}, {FileNameRole, "fileName"}, {StatusRole, "status"}, {StateRole, "state"},
            {ConfidenceRole, "confidence"}};
}

int FileListModel::completedCount() const
{
    return static_cast<int>(std::count_if(items_.begin(), items_.end(),
                                          [](const FileItemPtr& item) { return item->state() == FileItem::done; }));
}

FileItem* FileListModel::at(int row) const
{
    return row >= 0 && row < rowCount() ? items_[static_cast<std::size_t>(row)].get() : nullptr;
}

void FileListModel::watch(const FileItemPtr& item)
{
    FileItem* raw = item.get();
    connect(raw, &FileItem::changed, this, [this, raw] {
        const auto found = std::find_if(items_.begin(), items_.end(), [&](const FileItemPtr& p) { return p.get() == raw; });
        if (found == items_.end())
            return;
        const QModelIndex row = index(static_cast<int>(found - items_.begin()));
        emit dataChanged(row, row);
    });
    connect(raw, &FileItem::stateChanged, this, &FileListModel::statesChanged);
}

void FileListModel::append(const std::vector<FileItemPtr>& added)
{
    if (added.empty())
        return;
    const int first = rowCount();
    beginInsertRows({}, first, first + static_cast<int>(added.size()) - 1);
    for (const FileItemPtr& item : added) {
        items_.push_back(item);
        watch(item);
    }
    endInsertRows();
    emit countChanged();
    emit statesChanged();
}

void FileListModel::removeIf(const std::function<bool(const FileItem&)>& doomed)
{
    bool removed = false;
    // Back to front, contiguous runs at a time, so each removal keeps the rows in step.
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (!doomed(*items_[static_cast<std::size_t>(row)]))
            continue;
        int first = row;
        while (first > 0 && doomed(*items_[static_cast<std::size_t>(first - 1)]))
            --first;
        beginRemoveRows({}, first, row);
        for (int r = first; r <= row; ++r)
            disconnect(items_[static_cast<std::size_t>(r)].get(), nullptr, this, nullptr);
        items_.erase(items_.begin() + first, items_.begin() + row + 1);
        endRemoveRows();
        removed = true;
        row = first;
    }
    if (removed) {
        emit countChanged();
        emit statesChanged();
    }
}

void FileListModel::replace(const FileItem* item, const std::vector<FileItemPtr>& with)
{
    const auto found = std::find_if(items_.begin(), items_.end(), [&](const FileItemPtr& p) { return p.get() == item; });
    if (found == items_.end())
        return;
    const int row = static_cast<int>(found - items_.begin());
    beginRemoveRows({}, row, row);
    disconnect(found->get(), nullptr, this, nullptr);
    items_.erase(found);
    endRemoveRows();
    if (!with.empty()) {
        beginInsertRows({}, row, row + static_cast<int>(with.size()) - 1);
        items_.insert(items_.begin() + row, with.begin(), with.end());
        for (const FileItemPtr& added : with)
            watch(added);
        endInsertRows();
    }
    emit countChanged();
    emit statesChanged();
}

} // namespace quorvel
