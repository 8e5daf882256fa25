#pragma once

#include "model/FileListModel.hpp"

#include <QSortFilterProxyModel>

namespace quorvel {

// The queue as the file list shows it, in two sections: the files still to bounce, then
// the bounced ones, each in queue order. The `section` role names the row's section.
class FileSections : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit FileSections(FileListModel* queue, QObject* parent = nullptr);

    // The row of the first file whose bounce failed, or −1.
    Q_INVOKABLE int firstFailedRow() const;
    FileItem* at(int row) const;

protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    FileListModel* queue_;
};

} // namespace quorvel
