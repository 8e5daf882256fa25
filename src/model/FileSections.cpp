#include "model/FileSections.hpp"

#include <algorithm>

namespace quorvel {

FileSections::FileSections(FileListModel* queue, QObject* parent) : QAbstractListModel(parent), queue_(queue)
{
    place_.assign(static_cast<std::size_t>(queue->rowCount()), -1);
    inserted(0, queue->rowCount() - 1);
    connect(queue, &QAbstractItemModel::dataChanged, this, &FileSections::changed);
    connect(queue, &QAbstractItemModel::rowsInserted, this, [this](const QModelIndex&, int first, int last) {
        // Every queue row from `first` on has moved down.
        for (int& row : order_)
            if (row >= first)
                row += last - first + 1;
        place_.insert(place_.begin() + first, static_cast<std::size_t>(last - first + 1), -1);
        inserted(first, last);
    });
    connect(queue, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](const QModelIndex&, int first, int last) { removing(first, last); });
    connect(queue, &QAbstractItemModel::rowsRemoved, this, [this](const QModelIndex&, int first, int last) { removed(first, last); });
}

int FileSections::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : static_cast<int>(order_.size()); }

QVariant FileSections::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    return queue_->data(queue_->index(order_[static_cast<std::size_t>(index.row())]), role);
}

FileItem* FileSections::at(int row) const
{
    return row >= 0 && row < rowCount() ? queue_->at(order_[static_cast<std::size_t>(row)]) : nullptr;
}

int FileSections::firstFailedRow() const
{
    for (int row = 0; row < bench_; ++row)
        if (at(row)->state() == FileItem::failed)
            return row;
    return -1;
}

int FileSections::placeFor(int queueRow, int skipping) const
{
    // Each section is in queue order, so the place is found by halving; `skipping` is the
    // row's own place, which does not count.
    const bool completed = done(queueRow);
    const int benchLeft = bench_ - (skipping >= 0 && skipping < bench_ ? 1 : 0);
    const auto begin = order_.begin() + (completed ? bench_ : 0), end = completed ? order_.end() : order_.begin() + bench_;
    int place = static_cast<int>(std::lower_bound(begin, end, queueRow) - order_.begin());
    if (completed && skipping >= 0 && skipping < bench_)
        --place;
    return completed ? std::max(place, benchLeft) : place;
}

void FileSections::renumber(int from, int to)
{
    for (int row = std::max(0, from); row <= to && row < rowCount(); ++row)
        place_[static_cast<std::size_t>(order_[static_cast<std::size_t>(row)])] = row;
}

void FileSections::changed(const QModelIndex& first, const QModelIndex& last, const QList<int>& roles)
{
    for (int queueRow = first.row(); queueRow <= last.row(); ++queueRow) {
        const int from = place_[static_cast<std::size_t>(queueRow)];
        if ((from >= bench_) != done(queueRow)) {
            const int to = placeFor(queueRow, from);
            // At the border between the sections the row keeps its place and only changes section.
            const bool moves = to != from;
            // Qt counts the destination before the move: one further down when moving down.
            if (moves)
                beginMoveRows({}, from, from, {}, to > from ? to + 1 : to);
            order_.erase(order_.begin() + from);
            order_.insert(order_.begin() + to, queueRow);
            bench_ += done(queueRow) ? -1 : 1;
            renumber(std::min(from, to), std::max(from, to));
            if (moves)
                endMoveRows();
        }
        const QModelIndex shown = index(place_[static_cast<std::size_t>(queueRow)]);
        emit dataChanged(shown, shown, roles);
    }
}

// Consecutive new queue rows land as one run in each section.
void FileSections::inserted(int first, int last)
{
    for (const bool completed : {false, true}) {
        std::vector<int> rows;
        for (int queueRow = first; queueRow <= last; ++queueRow)
            if (done(queueRow) == completed)
                rows.push_back(queueRow);
        if (rows.empty())
            continue;
        const int at = placeFor(rows.front(), -1);
        beginInsertRows({}, at, at + static_cast<int>(rows.size()) - 1);
        order_.insert(order_.begin() + at, rows.begin(), rows.end());
        if (!completed)
            bench_ += static_cast<int>(rows.size());
        renumber(at, rowCount() - 1);
        endInsertRows();
    }
}

// The doomed rows leave while the queue still holds them, as one run per section.
void FileSections::removing(int first, int last)
{
    for (const bool inBench : {false, true}) {
        std::vector<int> places;
        for (int queueRow = first; queueRow <= last; ++queueRow)
            if ((place_[static_cast<std::size_t>(queueRow)] < bench_) == inBench)
                places.push_back(place_[static_cast<std::size_t>(queueRow)]);
        if (places.empty())
            continue;
        const auto [low, high] = std::minmax_element(places.begin(), places.end());
        beginRemoveRows({}, *low, *high);
        order_.erase(order_.begin() + *low, order_.begin() + *high + 1);
        if (inBench)
            bench_ -= *high - *low + 1;
        renumber(*low, rowCount() - 1);
        endRemoveRows();
    }
}

void FileSections::removed(int first, int last)
{
    const int count = last - first + 1;
    place_.erase(place_.begin() + first, place_.begin() + last + 1);
    for (int& row : order_)
        if (row > last)
            row -= count;
    renumber(0, rowCount() - 1);
}

} // namespace quorvel
