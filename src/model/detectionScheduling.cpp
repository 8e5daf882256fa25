#include "core/detection/detectPair.hpp"
#include "core/detection/detectSource.hpp"
#include "core/io/MappedFile.hpp"
#include "model/ConverterModel.hpp"

#include <QFile>

namespace quorvel {

namespace {

void show(FileItem& item, const std::monostate&)
{
    item.setStatus(QStringLiteral("Unreadable file"));
    item.setConfidence(QStringLiteral("—"));
}

void show(FileItem& item, const FileDetection& found)
{
    item.setDetectedFormat(found.format.best);
    item.setDetectedChannels(found.channels.channels);
    item.setConfidence(QString::fromUtf8(found.channels.confidence));
    item.setCorr(found.channels.corr);
    item.setStatus(QString::fromStdString(found.status));
}

void show(FileItem& item, const PairDetection& found)
{
    item.setDetectedFormat(found.format);
    item.setDetectedChannels(2);
    item.setConfidence(found.agree ? QString::fromUtf8(found.confidence) : QStringLiteral("—"));
    item.setCorr(found.left.channels.corr);
    item.setStatus(QString::fromStdString(found.status));
}

SessionSource sessionSource(const FileItem::Reading& reading)
{
    return std::visit([](const auto& found) -> SessionSource {
        if constexpr (std::is_same_v<std::decay_t<decltype(found)>, std::monostate>)
            return std::monostate{};
        else
            return &found;
    }, reading);
}

} // namespace

void ConverterModel::detect(const FileItemPtr& item)
{
    const SourceFormatChoice choice = sourceFormatChoice_;
    ++detecting_[item->folder()];
    // The task holds the item, never the model's fields; only the item's url and root are read off the main thread.
    if (item->isPair()) {
        detectPairItem(item, choice);
        return;
    }
    inBackground([this, item, choice] {
        const MappedFile file = MappedFile::open(item->filePath());
        std::string unreadable;
        std::optional<FileDetection> detected =
            file.ok() ? detectSource(item->filePath(), file.bytes(), choice, item->root(), unreadable) : std::nullopt;
        post([this, item, found = detected ? FileItem::Reading(std::move(*detected)) : FileItem::Reading()] {
            showReading(item, found);
        });
    });
}

void ConverterModel::detectPairItem(const FileItemPtr& item, SourceFormatChoice choice)
{
    inBackground([this, item, choice] {
        std::string unreadable;
        std::optional<PairDetection> pair =
            detectPairFiles(item->filePath(), *item->rightFilePath(), choice, item->root(), unreadable);
        post([this, item, found = pair ? FileItem::Reading(std::move(*pair)) : FileItem::Reading()] {
            showReading(item, found);
        });
    });
}

void ConverterModel::showReading(const FileItemPtr& item, const FileItem::Reading& reading)
{
    std::visit([&](const auto& found) { show(*item, found); }, reading);
    item->setReading(reading);
    if (const auto running = detecting_.find(item->folder()); --running->second == 0) {
        detecting_.erase(running);
        settleFolder(item->folder());
    }
}

// Rows being bounced or already bounced keep what they show.
void ConverterModel::settleFolder(const std::filesystem::path& folder)
{
    std::vector<FileItemPtr> members;
    std::vector<SessionSource> sources;
    for (const FileItemPtr& item : queue())
        if (item->folder() == folder) {
            members.push_back(item);
            sources.push_back(sessionSource(item->reading()));
        }
    const std::vector<SessionAnswer> answers = settleSession(sources, sourceFormatChoice_);
    for (std::size_t k = 0; k < members.size(); ++k) {
        FileItem& member = *members[k];
        if (member.state() == FileItem::working || member.state() == FileItem::done || answers[k] == member.session())
            continue;
        FileItem::Reading amended = member.reading();
        std::visit([&](auto& found) {
            if constexpr (!std::is_same_v<std::decay_t<decltype(found)>, std::monostate>)
                applySession(found, answers[k]);
            show(member, found);
        }, amended);
        member.setSession(answers[k]);
    }
}

void ConverterModel::redetectAll()
{
    for (const FileItemPtr& item : queue())
        if (item->state() != FileItem::working)
            detect(item);
}

} // namespace quorvel
