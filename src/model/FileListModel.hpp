#pragma once

#include "model/FileItem.hpp"

#include <QAbstractListModel>

#include <memory>
#include <vector>

namespace quorvel {

using FileItemPtr = std::shared_ptr<FileItem>;

// The queue as the views see it: one row per item, in queue order. A row announces a
// change whenever one of its item's fields changes.
class FileListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    // The two sections of the file list: still to bounce, and bounced.
    Q_PROPERTY(int benchCount READ benchCount NOTIFY statesChanged)
    Q_PROPERTY(int completedCount READ completedCount NOTIFY statesChanged)

public:
    enum Role { ItemRole = Qt::UserRole + 1, FileNameRole, StatusRole, StateRole, ConfidenceRole };

    explicit FileListModel(QObject* parent = nullptr) : QAbstractListModel(parent) {}

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    const std::vector<FileItemPtr>& items() const { return items_; }
    int completedCount() const;
    int benchCount() const { return rowCount() - completedCount(); }
    Q_INVOKABLE quorvel::FileItem* at(int row) const;

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

    std::vector<FileItemPtr> items_;
};

} // namespace quorvel
