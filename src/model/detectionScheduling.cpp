#include "core/detection/detectPair.hpp"
#include "core/io/MappedFile.hpp"
#include "model/ConverterModel.hpp"

#include <QFile>

namespace quorvel {

void ConverterModel::detect(const FileItemPtr& item)
{
    const SourceFormatChoice choice = sourceFormatChoice_;
    // The task holds the item, never the model's fields; only the item's url is read off the main thread.
    if (item->isPair()) {
        detectPairItem(item, choice);
        return;
    }
    inBackground([this, item, choice] {
        const MappedFile file = MappedFile::open(item->filePath());
        const std::optional<FileDetection> detected =
            file.ok() ? detectFile(file.bytes(), choice) : std::nullopt;
        if (!detected) {
            post([item] {
                item->setStatus(QStringLiteral("Unreadable file"));
                item->setConfidence(QStringLiteral("—"));
            });
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
        const auto detectHalf = [&](const std::filesystem::path& path) -> std::optional<FileDetection> {
            const MappedFile file = MappedFile::open(path);
            return file.ok() ? detectFile(file.bytes(), choice) : std::nullopt;
        };
        const auto left = detectHalf(item->filePath());
        const auto right = detectHalf(*item->rightFilePath());
        if (!left || !right) {
            post([item] {
                item->setStatus(QStringLiteral("Unreadable file"));
                item->setConfidence(QStringLiteral("—"));
            });
            return;
        }
        post([item, pair = detectPair(*left, *right, choice)] {
            item->setDetectedFormat(pair.format);
            item->setDetectedChannels(2);
            item->setConfidence(pair.agree ? QString::fromUtf8(pair.confidence) : QStringLiteral("—"));
            item->setCorr(pair.left.channels.corr);
            item->setStatus(QString::fromStdString(pair.status));
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
