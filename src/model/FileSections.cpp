#include "model/FileSections.hpp"

namespace quorvel {

FileSections::FileSections(FileListModel* queue, QObject* parent) : QSortFilterProxyModel(parent), queue_(queue)
{
    setSourceModel(queue);
    setSortRole(FileListModel::SectionRole);
    sort(0);
}

bool FileSections::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    const bool leftDone = queue_->at(left.row())->state() == FileItem::done;
    const bool rightDone = queue_->at(right.row())->state() == FileItem::done;
    return leftDone != rightDone ? rightDone : left.row() < right.row();
}

FileItem* FileSections::at(int row) const
{
    const QModelIndex source = mapToSource(index(row, 0));
    return source.isValid() ? queue_->at(source.row()) : nullptr;
}

int FileSections::firstFailedRow() const
{
    for (int row = 0; row < rowCount(); ++row)
        if (at(row)->state() == FileItem::failed)
            return row;
    return -1;
}

} // namespace quorvel
