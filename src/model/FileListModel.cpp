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
    case Qt::DisplayRole: return item->fileName();
    case StateRole: return QVariant::fromValue(item->state());
    case SectionRole: return item->state() == FileItem::done ? QStringLiteral("completed") : QStringLiteral("bench");
    }
    return {};
}

QHash<int, QByteArray> FileListModel::roleNames() const
{
    return {{ItemRole, "item"}, {StateRole, "state"}, {SectionRole, "section"}};
}

FileItem* FileListModel::at(int row) const
{
    return row >= 0 && row < rowCount() ? items_[static_cast<std::size_t>(row)].get() : nullptr;
}

int FileListModel::rowOf(const FileItem* item) const
{
    if (rowsStale_) {
        rows_.clear();
        for (std::size_t row = 0; row < items_.size(); ++row)
            rows_.insert(items_[row].get(), static_cast<int>(row));
        rowsStale_ = false;
    }
    return rows_.value(item, -1);
}

void FileListModel::announce(const FileItem* item, const QList<int>& roles)
{
    const int row = rowOf(item);
    if (row >= 0)
        emit dataChanged(index(row), index(row), roles);
}

void FileListModel::stateOf(const FileItem* item)
{
    if (item->state() == FileItem::done)
        done_.insert(item);
    else
        done_.remove(item);
}

void FileListModel::watch(const FileItemPtr& item)
{
    const FileItem* raw = item.get();
    stateOf(raw);
    connect(raw, &FileItem::stateChanged, this, [this, raw] {
        stateOf(raw);
        announce(raw, {StateRole, SectionRole});
        emit statesChanged();
    });
}

void FileListModel::forget(const FileItem* item)
{
    disconnect(item, nullptr, this, nullptr);
    done_.remove(item);
}

void FileListModel::append(const std::vector<FileItemPtr>& added)
{
    if (added.empty())
        return;
    const int first = rowCount();
    beginInsertRows({}, first, first + static_cast<int>(added.size()) - 1);
    for (const FileItemPtr& item : added) {
        if (!rowsStale_)
            rows_.insert(item.get(), static_cast<int>(items_.size()));
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
            forget(items_[static_cast<std::size_t>(r)].get());
        items_.erase(items_.begin() + first, items_.begin() + row + 1);
        rowsStale_ = true;
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
    const int row = rowOf(item);
    if (row < 0)
        return;
    beginRemoveRows({}, row, row);
    forget(item);
    items_.erase(items_.begin() + row);
    rowsStale_ = true;
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
