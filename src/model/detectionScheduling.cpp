#include "core/detection/detectPair.hpp"
#include "core/detection/detectSource.hpp"
#include "core/io/MappedFile.hpp"
#include "model/ConverterModel.hpp"

#include <QFile>

namespace quorvel {

namespace {
void showUnreadable(FileItem& item)
{
    item.setStatus(QStringLiteral("Unreadable file"));
    item.setConfidence(QStringLiteral("—"));
}
} // namespace

void ConverterModel::detect(const FileItemPtr& item)
{
    const SourceFormatChoice choice = sourceFormatChoice_;
    // The task holds the item, never the model's fields; only the item's url and root are read off the main thread.
    if (item->isPair()) {
        detectPairItem(item, choice);
        return;
    }
    inBackground([this, item, choice] {
        const MappedFile file = MappedFile::open(item->filePath());
        std::string unreadable;
        const std::optional<FileDetection> detected =
            file.ok() ? detectSource(item->filePath(), file.bytes(), choice, item->root(), unreadable) : std::nullopt;
        if (!detected) {
            post([item] { showUnreadable(*item); });
            return;
        }
        post([item, found = *detected] {
            item->setDetectedFormat(found.format.best);
            item->setDetectedChannels(found.channels.channels);
            item->setConfidence(QString::fromUtf8(found.channels.confidence));
            item->setCorr(found.channels.corr);
            item->setStatus(QString::fromStdString(found.status));
        });
    });
}

void ConverterModel::detectPairItem(const FileItemPtr& item, SourceFormatChoice choice)
{
    inBackground([this, item, choice] {
        std::string unreadable;
        const std::optional<PairDetection> pair =
            detectPairFiles(item->filePath(), *item->rightFilePath(), choice, item->root(), unreadable);
        if (!pair) {
            post([item] { showUnreadable(*item); });
            return;
        }
        post([item, found = *pair] {
            item->setDetectedFormat(found.format);
            item->setDetectedChannels(2);
            item->setConfidence(found.agree ? QString::fromUtf8(found.confidence) : QStringLiteral("—"));
            item->setCorr(found.left.channels.corr);
            item->setStatus(QString::fromStdString(found.status));
        });
    });
}

void ConverterModel::redetectAll()
{
    for (const FileItemPtr& item : queue())
        if (item->state() != FileItem::working)
            detect(item);
}

} // namespace quorvel
