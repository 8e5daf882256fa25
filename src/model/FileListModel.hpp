#pragma once

#include "model/FileItem.hpp"

#include <QAbstractListModel>
#include <QHash>
#include <QSet>

#include <functional>
#include <memory>
#include <vector>

namespace quorvel {

using FileItemPtr = std::shared_ptr<FileItem>;

// The queue in queue order: one row per item. The views read an item's fields from the
// item itself; a row announces only what list views group by (its state), so a change
// costs the same whatever the length of the queue.
class FileListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    // The two sections of the file list: still to bounce, and bounced.
    Q_PROPERTY(int benchCount READ benchCount NOTIFY statesChanged)
    Q_PROPERTY(int completedCount READ completedCount NOTIFY statesChanged)

public:
    enum Role { ItemRole = Qt::UserRole + 1, StateRole, SectionRole };

    explicit FileListModel(QObject* parent = nullptr) : QAbstractListModel(parent) {}

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    const std::vector<FileItemPtr>& items() const { return items_; }
    int completedCount() const { return static_cast<int>(done_.size()); }
    int benchCount() const { return rowCount() - completedCount(); }
    FileItem* at(int row) const;
    // The item's row, or −1.
    int rowOf(const FileItem* item) const;

    // Each is one change of the list.
    void append(const std::vector<FileItemPtr>& added);
    void removeIf(const std::function<bool(const FileItem&)>& doomed);
    // Puts `with` in the place of `item`, which leaves the list.
    void replace(const FileItem* item, const std::vector<FileItemPtr>& with);

signals:
    void countChanged();
    // An item's state changed, or items came or went: what counts as pending may differ.
    void statesChanged();

private:
    void watch(const FileItemPtr& item);
    void forget(const FileItem* item);
    void announce(const FileItem* item, const QList<int>& roles);
    void stateOf(const FileItem* item);

    std::vector<FileItemPtr> items_;
    QSet<const FileItem*> done_;
    // Rows by item; rebuilt on the first look-up after rows have moved.
    mutable QHash<const FileItem*, int> rows_;
    mutable bool rowsStale_ = false;
};

} // namespace quorvel
