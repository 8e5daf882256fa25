#include "core/pipeline/bounceFile.hpp"
#include "core/pipeline/keptTree.hpp"
#include "core/pipeline/outputFolder.hpp"
#include "core/pipeline/outputNaming.hpp"
#include "core/pipeline/sessionSettings.hpp"
#include "core/pipeline/treeFolders.hpp"
#include "model/ConverterModel.hpp"
#include "model/intake.hpp"

#include <algorithm>

namespace quorvel {

// What a run works from, fixed when it starts.
struct ConverterModel::BatchSnapshot {
    std::vector<FileItemPtr> pending;
    BounceSettings settings;
    std::optional<KeptTree> tree; // when the folder structure is kept
    std::optional<std::filesystem::path> linkFree; // the default output folder, whose tree follows no link
};

namespace {

constexpr double kBeforeFirstFile = 0.6;
constexpr double kAfterAnnouncing = 0.3;
constexpr double kMostAfterResult = 0.25;
constexpr double kBeforeClosing = 1.9;

double paceFor(std::size_t files) { return files <= 3 ? 0.7 : files <= 12 ? 0.35 : 0.12; }

QString text(const std::string& s) { return QString::fromStdString(s); }

} // namespace

// Turns the steps of one file's bounce into posted changes and pauses.
class ConverterModel::BatchWorker : public BounceObserver {
public:
    BatchWorker(ConverterModel& model, FileItemPtr item, double pace, const std::optional<KeptTree>& tree,
                TreeFolders& folders)
        : model_(model), item_(std::move(item)), pace_(pace), tree_(tree), folders_(folders)
    {
    }

    void corrected(SourceFormat format) override
    {
        model_.post([item = item_, format] { item->setDetectedFormat(format); });
    }
    void analysed(const std::string& line) override
    {
        model_.post([&model = model_, line = text(line)] { model.setPhaseDetail(line); });
        model_.pause(pace_);
    }
    void printing(const std::string& title) override
    {
        model_.post([&model = model_, title = text(title)] { model.setPhaseTitle(title); });
        model_.post([&model = model_, name = item_->fileName()] { model.setPhaseDetail(name); });
    }
    std::filesystem::path chooseOutput(const std::filesystem::path& dir, const std::string& base, std::int64_t rate,
                                       std::int64_t depth, std::int64_t channels) override
    {
        if (!tree_)
            return BounceObserver::chooseOutput(dir, base, rate, depth, channels);
        const std::filesystem::path folder = tree_->folderFor(item_->source());
        hold_.emplace(folders_.hold(folder)); // throws when it cannot: the file fails with the reason
        return uniqueOutput(folder, base, rate, depth, channels);
    }

private:
    ConverterModel& model_;
    FileItemPtr item_;
    double pace_;
    const std::optional<KeptTree>& tree_;
    TreeFolders& folders_;
    std::optional<TreeFolders::Hold> hold_;
};

void ConverterModel::convertAll()
{
    if (queue().empty())
        return;
    const OutputFolder folder =
        prepareOutputFolder(outputFolder_.isEmpty() ? std::nullopt : std::optional(pathForUrl(outputFolder_)),
                            defaultOutputLocation(queue().front()->source(), keepFolderStructure_));

    BatchSnapshot snapshot;
    std::copy_if(queue().begin(), queue().end(), std::back_inserter(snapshot.pending),
                 [](const FileItemPtr& item) { return item->state() != FileItem::done; });
    if (snapshot.pending.empty()) {
        setStatusLine(QStringLiteral("Nothing queued — everything's already bounced."));
        return;
    }

    setIsConverting(true);
    setOverallProgress(0);
    setStatusLine({});
    setShowOverlay(true);
    setPhaseDone(false);
    setPhaseFailed(false);
    setPhaseTitle(QStringLiteral("Cueing up the tape…"));
    setPhaseDetail({});

    snapshot.settings = {sourceFormatChoice_,
                         sourceRate_.rawValue(),
                         targetRate_.rawValue(),
                         targetDepth_.rawValue(),
                         targetChannels_,
                         normalizeLoudness_,
                         folder.path,
                         folder.error};
    snapshot.settings.broadcastWav = !plainWav_;
    snapshot.settings.stop = &stop_;
    if (keepFolderStructure_) {
        std::vector<QueuedSource> sources;
        for (const FileItemPtr& item : queue())
            sources.push_back(item->source());
        snapshot.tree.emplace(folder.path, sources);
        if (outputFolder_.isEmpty())
            snapshot.linkFree = folder.path;
    }
    // The last run's thread has posted its end by now and is returning.
    if (worker_.joinable())
        worker_.join();
    stop_ = false;
    handOff(this);
    worker_ = std::thread([this, snapshot = std::move(snapshot)] {
        takeOver(this);
        runBatch(snapshot);
    });
}

void ConverterModel::stopBouncing() { stop_ = true; }

void ConverterModel::pause(double seconds)
{
    if (!stop_)
        services_.pause(seconds);
}

void ConverterModel::runBatch(const BatchSnapshot& snapshot)
{
    const std::size_t n = snapshot.pending.size();
    const double pace = paceFor(n);
    int failures = 0;
    TreeFolders folders(snapshot.linkFree);
    const auto closeRun = [this] {
        post([this] { setShowOverlay(false); });
        post([this] { setIsConverting(false); });
    };
    pause(kBeforeFirstFile);

    for (std::size_t i = 0; i < n; ++i) {
        if (stop_)
            return closeRun();
        const FileItemPtr& item = snapshot.pending[i];
        const double progress = static_cast<double>(i + 1) / static_cast<double>(n);
        const QString title = n == 1 ? QStringLiteral("Auditioning the source…")
                                     : QStringLiteral("Auditioning file %1 of %2…").arg(i + 1).arg(n);
        post([item] { item->setState(FileItem::working); });
        post([item] { item->setStatus(QStringLiteral("Bouncing…")); });
        post([this, title] { setPhaseTitle(title); });
        post([this, name = item->fileName()] { setPhaseDetail(name); });
        pause(kAfterAnnouncing);

        const BounceItem source{item->filePath(), [&] { return item->detectedFormat(); },
                                [&] { return item->sourceChannels(); }, item->rightFilePath(), item->root(),
                                [&] { return item->overrideChoice() != ChannelOverride::automatic; },
                                item->source().sniffed};
        BatchWorker worker(*this, item, pace, snapshot.tree, folders);
        const BounceResult result = bounceFile(source, withSession(snapshot.settings, item->session()), worker);
        if (stop_) {
            // Stopped while it was being written: it was not meant to be finished.
            if (result.ok) {
                std::error_code ignored;
                std::filesystem::remove(result.output, ignored);
            }
            return closeRun();
        }
        if (!result.ok)
            ++failures;

        post([item, ok = result.ok] { item->setState(ok ? FileItem::done : FileItem::failed); });
        if (result.ok)
            post([item, url = urlForPath(result.output)] { item->setOutputURL(url); });
        post([item, status = text(result.status)] { item->setStatus(status); });
        post([this, progress] { setOverallProgress(progress); });
        if (result.analysed)
            pause(std::min(pace, kMostAfterResult));
    }

    const QString folderName = QString::fromLocal8Bit(snapshot.settings.outputFolder.filename().string());
    post([this] { setPhaseDone(true); });
    post([this, failed = failures >= 1] { setPhaseFailed(failed); });
    if (failures >= 1) {
        post([this, failures] {
            setPhaseTitle(QStringLiteral("%1 need%2 another look").arg(failures).arg(failures == 1 ? QStringLiteral("s") : QString()));
        });
        post([this, folderName] { setPhaseDetail(QStringLiteral("The rest are safe in ") + folderName); });
        post([this, failures, n] { setStatusLine(QStringLiteral("%1 of %2 flagged — check the bench.").arg(failures).arg(n)); });
    } else {
        post([this, n] { setPhaseTitle(QStringLiteral("Bounced %1 — nice work").arg(n)); });
        post([this, folderName] { setPhaseDetail(QStringLiteral("Filed under ") + folderName); });
        post([this, n, folderName] {
            setStatusLine(QStringLiteral("Bounced %1 file%2 → %3")
                              .arg(QString::number(n), n == 1 ? QString() : QStringLiteral("s"), folderName));
        });
    }
    pause(kBeforeClosing);
    closeRun();
}

} // namespace quorvel
