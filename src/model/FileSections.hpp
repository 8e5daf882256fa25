#pragma once

#include "model/FileListModel.hpp"

#include <vector>

namespace quorvel {

// The queue as the file list shows it, in two sections: the files still to bounce, then
// the bounced ones, each in queue order; the `section` role names the row's section. A
// file that changes section is moved, one row at a time, so a list of thousands redraws
// only the rows that moved.
class FileSections : public QAbstractListModel {
    Q_OBJECT

public:
    explicit FileSections(FileListModel* queue, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override { return queue_->roleNames(); }

    FileItem* at(int row) const;
    // The row of the first file whose bounce failed, or −1.
    Q_INVOKABLE int firstFailedRow() const;

private:
    bool done(int queueRow) const { return queue_->at(queueRow)->state() == FileItem::done; }
    // Where a queue row belongs in order_, leaving out the row itself.
    int placeFor(int queueRow, int skipping) const;
    void renumber(int from, int to);
    void changed(const QModelIndex& first, const QModelIndex& last, const QList<int>& roles);
    void inserted(int first, int last);
    void removing(int first, int last);
    void removed(int first, int last);

    FileListModel* queue_;
    std::vector<int> order_; // shown row → queue row
    std::vector<int> place_; // queue row → shown row
    int bench_ = 0;          // rows in the first section
};

} // namespace quorvel
