#include "core/detection/detectPair.hpp"
#include "core/detection/detectSource.hpp"
#include "core/detection/windowSketch.hpp"
#include "core/io/MappedFile.hpp"
#include "core/io/guardedRead.hpp"
#include "model/ConverterModel.hpp"

namespace quorvel {

namespace {

void showUnreadable(FileItem& item)
{
    item.setStatus(QStringLiteral("Unreadable file"));
    item.setConfidence(QStringLiteral("—"));
}

// The pictures of a detected file's windows, read from the mapping the detection used, so
// its pages are still in memory. None when the file changed under the reading.
std::optional<std::vector<WindowSketch>> sketchesOf(const FileDetection& detected, const MappedFile& file)
{
    std::vector<WindowSketch> sketches;
    const std::optional<SourceFormat> described =
        detected.source.description ? std::optional(detected.source.description->format) : std::nullopt;
    if (!guardedRead([&] { sketches = sketchReadings(detected.source.audio(file.bytes()), described); }))
        return std::nullopt;
    return sketches;
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
    inBackground(detectionPool_, [this, item, choice] {
        const MappedFile file = MappedFile::open(item->filePath());
        std::string unreadable;
        const std::optional<FileDetection> detected =
            file.ok() ? detectSource(item->filePath(), file.bytes(), choice, item->root(), unreadable) : std::nullopt;
        const auto sketches = detected ? sketchesOf(*detected, file) : std::nullopt;
        if (!sketches) {
            post([item] { showUnreadable(*item); });
            return;
        }
        post([item, found = *detected, sketches = std::make_shared<const FileItem::Sketches>(1, *sketches)] {
            item->setDetectedFormat(found.format.best);
            item->setDetectedChannels(found.channels.channels);
            item->setConfidence(QString::fromUtf8(found.channels.confidence));
            item->setCorr(found.channels.corr);
            item->setStatus(QString::fromStdString(found.status));
            item->setSketches(sketches);
        });
    });
}

void ConverterModel::detectPairItem(const FileItemPtr& item, SourceFormatChoice choice)
{
    inBackground(detectionPool_, [this, item, choice] {
        std::string unreadable;
        const std::optional<PairDetection> pair = detectPairFiles(item->filePath(), *item->rightFilePath(), choice, item->root(), unreadable);
        auto sketches = std::make_shared<FileItem::Sketches>();
        if (pair) {
            const MappedFile halves[2] = {MappedFile::open(item->filePath()), MappedFile::open(*item->rightFilePath())};
            for (int c = 0; c < 2; ++c)
                if (const auto half = halves[c].ok() ? sketchesOf(c == 0 ? pair->left : pair->right, halves[c]) : std::nullopt)
                    sketches->push_back(*half);
        }
        if (!pair || sketches->size() != 2) {
            post([item] { showUnreadable(*item); });
            return;
        }
        post([item, found = *pair, sketches = std::shared_ptr<const FileItem::Sketches>(std::move(sketches))] {
            item->setDetectedFormat(found.format);
            item->setDetectedChannels(2);
            item->setConfidence(found.agree ? QString::fromUtf8(found.confidence) : QStringLiteral("—"));
            item->setCorr(found.left.channels.corr);
            item->setStatus(QString::fromStdString(found.status));
            item->setSketches(sketches);
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
