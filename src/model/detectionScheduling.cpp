#include "core/detection/detectPair.hpp"
#include "core/detection/detectSource.hpp"
#include "core/detection/windowSketch.hpp"
#include "core/io/MappedFile.hpp"
#include "core/io/guardedRead.hpp"
#include "model/ConverterModel.hpp"

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
    ++detecting_[item->sessionFolder()];
    // The task holds the item, never the model's fields; only the item's url and root are read off the main thread.
    if (item->isPair()) {
        detectPairItem(item, choice);
        return;
    }
    inBackground(detectionPool_, [this, item, choice] {
        const MappedFile file = MappedFile::open(item->filePath());
        std::string unreadable;
        std::optional<FileDetection> detected =
            file.ok() ? detectSource(item->filePath(), file.bytes(), choice, item->root(), unreadable) : std::nullopt;
        const auto sketches = detected ? sketchesOf(*detected, file) : std::nullopt;
        FileItem::Reading reading;
        if (sketches)
            reading = std::move(*detected);
        post([this, item, reading = std::move(reading),
              sketches = sketches ? std::make_shared<const FileItem::Sketches>(1, *sketches) : nullptr] {
            if (sketches)
                item->setSketches(sketches);
            showReading(item, reading);
        });
    });
}

void ConverterModel::detectPairItem(const FileItemPtr& item, SourceFormatChoice choice)
{
    inBackground(detectionPool_, [this, item, choice] {
        std::string unreadable;
        const MappedFile halves[2] = {MappedFile::open(item->filePath()), MappedFile::open(*item->rightFilePath())};
        std::optional<PairDetection> pair =
            detectPairFiles(item->filePath(), halves[0], *item->rightFilePath(), halves[1], choice, item->root(), unreadable);
        auto sketches = std::make_shared<FileItem::Sketches>();
        if (pair)
            for (int c = 0; c < 2; ++c)
                if (const auto half = sketchesOf(c == 0 ? pair->left : pair->right, halves[c]))
                    sketches->push_back(*half);
        FileItem::Reading reading;
        if (pair && sketches->size() == 2)
            reading = std::move(*pair);
        else
            sketches.reset();
        post([this, item, reading = std::move(reading), sketches = std::shared_ptr<const FileItem::Sketches>(std::move(sketches))] {
            if (sketches)
                item->setSketches(sketches);
            showReading(item, reading);
        });
    });
}

void ConverterModel::showReading(const FileItemPtr& item, const FileItem::Reading& reading)
{
    std::visit([&](const auto& found) { show(*item, found); }, reading);
    item->setReading(reading);
    if (const auto running = detecting_.find(item->sessionFolder()); --running->second == 0) {
        detecting_.erase(running);
        settleFolder(item->sessionFolder());
    }
}

// Rows being bounced or already bounced keep what they show.
void ConverterModel::settleFolder(const std::filesystem::path& folder)
{
    std::vector<FileItemPtr> members;
    std::vector<SessionSource> sources;
    // Compared as spelled (every item's folder is its own path's parent): a whole queue is
    // scanned for each folder that settles, and element-wise comparison is slow at that scale.
    for (const FileItemPtr& item : queue())
        if (item->sessionFolder().native() == folder.native()) {
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
