#include "model/ConverterModel.hpp"
#include "core/io/splitStereo.hpp"
#include "core/pipeline/keptTree.hpp"
#include "core/pipeline/outputFolder.hpp"
#include "model/intake.hpp"

#include <algorithm>
#include <utility>

namespace quorvel {

namespace {
template <class T, class Model>
void assign(Model* model, T& field, const T& value, void (Model::*changed)())
{
    if (field == value)
        return;
    field = value;
    emit(model->*changed)();
}
} // namespace

ConverterModel& ConverterModel::shared()
{
    static ConverterModel model(ModelServices::system());
    return model;
}

ConverterModel::ConverterModel(ModelServices services, QObject* parent)
    : QObject(parent), services_(std::move(services))
{
    intakePool_.setMaxThreadCount(1);
    connect(&items_, &FileListModel::statesChanged, this, [this] {
        const int pending = pendingCount();
        if (pending != lastPendingCount_) {
            lastPendingCount_ = pending;
            emit pendingCountChanged();
        }
    });
}

ConverterModel::~ConverterModel()
{
    // Background jobs post back to this object: the ones not started are dropped, the
    // others finish first. A run still going stops between two blocks.
    stop_ = true;
    for (QThreadPool* pool : {&intakePool_, &detectionPool_}) {
        pool->clear();
        pool->waitForDone();
    }
    if (worker_.joinable())
        worker_.join();
    takeOver(this);
}

void ConverterModel::inBackground(QThreadPool& pool, std::function<void()> job, int priority)
{
    handOff(this);
    pool.start(
        [this, job = std::move(job)] {
            takeOver(this);
            job();
            handOff(this);
        },
        priority);
}

QString ConverterModel::outputFolderName() const
{
    if (outputFolder_.isEmpty())
        return {};
    const std::filesystem::path folder = pathForUrl(outputFolder_).lexically_normal();
    const std::string name = (folder.has_filename() ? folder : folder.parent_path()).filename().string();
    return QString::fromLocal8Bit(name.empty() ? folder.string() : name);
}

std::optional<QUrl> ConverterModel::defaultOutDir() const
{
    if (queue().empty())
        return std::nullopt;
    return urlForPath(defaultOutputLocation(queue().front()->source(), keepFolderStructure_) / kDefaultOutputFolderName);
}

void ConverterModel::setSourceFormatChoice(SourceFormatChoice choice)
{
    assign(this, sourceFormatChoice_, choice, &ConverterModel::sourceFormatChoiceChanged);
}
void ConverterModel::setSourceRate(SourceRate rate) { assign(this, sourceRate_, rate, &ConverterModel::sourceRateChanged); }
void ConverterModel::setTargetRate(TargetRate rate) { assign(this, targetRate_, rate, &ConverterModel::targetRateChanged); }
void ConverterModel::setTargetDepth(TargetDepth depth) { assign(this, targetDepth_, depth, &ConverterModel::targetDepthChanged); }
void ConverterModel::setTargetChannels(TargetChannels channels)
{
    assign(this, targetChannels_, channels, &ConverterModel::targetChannelsChanged);
}
void ConverterModel::setNormalizeLoudness(bool on) { assign(this, normalizeLoudness_, on, &ConverterModel::normalizeLoudnessChanged); }
void ConverterModel::setKeepFolderStructure(bool on)
{
    assign(this, keepFolderStructure_, on, &ConverterModel::keepFolderStructureChanged);
}
void ConverterModel::setPlainWav(bool on) { assign(this, plainWav_, on, &ConverterModel::plainWavChanged); }
void ConverterModel::setOutputFolder(const QUrl& folder) { assign(this, outputFolder_, folder, &ConverterModel::outputFolderChanged); }
void ConverterModel::setShowAdvanced(bool on) { assign(this, showAdvanced_, on, &ConverterModel::showAdvancedChanged); }
void ConverterModel::setIsConverting(bool on) { assign(this, isConverting_, on, &ConverterModel::isConvertingChanged); }
void ConverterModel::setOverallProgress(double p) { assign(this, overallProgress_, p, &ConverterModel::overallProgressChanged); }
void ConverterModel::setStatusLine(const QString& text) { assign(this, statusLine_, text, &ConverterModel::statusLineChanged); }
void ConverterModel::setShowOverlay(bool on) { assign(this, showOverlay_, on, &ConverterModel::showOverlayChanged); }
void ConverterModel::setPhaseTitle(const QString& text) { assign(this, phaseTitle_, text, &ConverterModel::phaseTitleChanged); }
void ConverterModel::setPhaseDetail(const QString& text) { assign(this, phaseDetail_, text, &ConverterModel::phaseDetailChanged); }
void ConverterModel::setPhaseDone(bool on) { assign(this, phaseDone_, on, &ConverterModel::phaseDoneChanged); }
void ConverterModel::setPhaseFailed(bool on) { assign(this, phaseFailed_, on, &ConverterModel::phaseFailedChanged); }

// Settings arrive from the views as ids and raw values; anything not listed is ignored.
void ConverterModel::setSourceFormatChoiceId(const QString& id)
{
    if (const auto choice = SourceFormatChoice::fromId(id.toStdString()))
        setSourceFormatChoice(*choice);
}
void ConverterModel::setSourceRateHz(int hz)
{
    if (const auto rate = SourceRate::fromRaw(hz))
        setSourceRate(*rate);
}
void ConverterModel::setTargetRateHz(int hz)
{
    if (const auto rate = TargetRate::fromRaw(hz))
        setTargetRate(*rate);
}
void ConverterModel::setTargetDepthBits(int bits)
{
    if (const auto depth = TargetDepth::fromRaw(bits))
        setTargetDepth(*depth);
}
void ConverterModel::setTargetChannelsId(const QString& raw)
{
    if (const auto channels = TargetChannels::fromRaw(raw.toStdString()))
        setTargetChannels(*channels);
}

namespace {
QVariantMap option(const QVariant& value, const QString& label) { return {{"value", value}, {"label", label}}; }
} // namespace

QVariantList ConverterModel::targetRateOptions()
{
    QVariantList options;
    for (TargetRate rate : TargetRate::allCases()) // segments read 44.1, 48, 88.2, 96
        options << option(int(rate.rawValue()), QString::fromStdString(rate.label()).remove(QStringLiteral(" kHz")));
    return options;
}

QVariantList ConverterModel::targetDepthOptions()
{
    QVariantList options;
    for (TargetDepth depth : TargetDepth::allCases())
        options << option(int(depth.rawValue()), QString::number(depth.rawValue()));
    return options;
}

QVariantList ConverterModel::targetChannelsOptions()
{
    QVariantList options;
    for (TargetChannels channels : TargetChannels::allCases())
        options << option(QString::fromUtf8(channels.rawValue()), QString::fromUtf8(channels.rawValue()));
    return options;
}

QVariantList ConverterModel::sourceFormatOptions()
{
    QVariantList options;
    for (SourceFormatChoice choice : SourceFormatChoice::allCases())
        options << option(QString::fromLatin1(choice.id()), QString::fromStdString(choice.label()));
    return options;
}

QVariantList ConverterModel::sourceRateOptions()
{
    QVariantList options;
    for (SourceRate rate : SourceRate::allCases())
        options << option(int(rate.rawValue()), QString::fromUtf8(rate.label()));
    return options;
}

FileItemPtr ConverterModel::find(const FileItem* item) const
{
    const int row = items_.rowOf(item);
    return row < 0 ? nullptr : queue()[static_cast<std::size_t>(row)];
}

void ConverterModel::addURLs(const QList<QUrl>& urls)
{
    PathList given;
    for (const QUrl& url : urls)
        if (url.isLocalFile())
            given.push_back(pathForUrl(url));
    waitingIntake_.push_back(std::move(given));
    if (!takingIn_)
        takeInNext();
}

// One call's walk at a time, so each sees what the calls before it queued.
void ConverterModel::takeInNext()
{
    const bool more = !waitingIntake_.empty();
    assign(this, takingIn_, more, &ConverterModel::takingInChanged);
    if (!more)
        return;
    PathList given = std::move(waitingIntake_.front());
    waitingIntake_.pop_front();
    std::set<std::string> queued;
    for (const FileItemPtr& item : queue()) {
        queued.insert(item->filePath().string());
        if (const auto right = item->rightFilePath())
            queued.insert(right->string());
    }

    inBackground(intakePool_, [this, given = std::move(given), queued = std::move(queued), main = thread()] {
        const CollectedPaths intake = collectSd2Paths(given, queued);
        // The items are made here too, then handed to the main thread a batch at a time, so
        // a folder of thousands never holds the window up.
        constexpr std::size_t kBatch = 500;
        std::vector<FileItemPtr> batch;
        for (const QueuedSource& source : queuedSources(intake, true)) {
            batch.push_back(std::make_shared<FileItem>(source));
            batch.back()->moveToThread(main);
            if (batch.size() == kBatch)
                post([this, added = std::exchange(batch, {})] { appendItems(added); });
        }
        post([this, added = std::move(batch), skipped = intake.skipped] {
            appendItems(added);
            reportSkipped(skipped);
            takeInNext();
        });
    });
}

void ConverterModel::appendItems(const std::vector<FileItemPtr>& added)
{
    items_.append(added);
    for (const FileItemPtr& item : added)
        detect(item);
}

// Files in a folder that could not be opened would otherwise just be missing.
void ConverterModel::reportSkipped(const std::vector<SkippedPath>& skipped)
{
    if (skipped.size() == 1) {
        const std::filesystem::path& path = skipped.front().path;
        setStatusLine(QStringLiteral("Couldn't open %1: %2")
                          .arg(QString::fromLocal8Bit((path.has_filename() ? path : path.parent_path()).filename().string()),
                               QString::fromStdString(skipped.front().reason)));
    } else if (!skipped.empty()) {
        setStatusLine(QStringLiteral("Couldn't open %1 folders — their files are left out").arg(skipped.size()));
    }
}

void ConverterModel::clear()
{
    items_.removeIf([](const FileItem&) { return true; });
    setOverallProgress(0);
    setStatusLine({});
}

void ConverterModel::clearCompleted()
{
    items_.removeIf([](const FileItem& item) { return item.state() == FileItem::done; });
}

void ConverterModel::remove(FileItem* item)
{
    if (!item)
        return;
    const QUuid id = item->id();
    items_.removeIf([&](const FileItem& candidate) { return candidate.id() == id; });
}

void ConverterModel::requeue(FileItem* item)
{
    const FileItemPtr shared = find(item);
    if (!shared)
        return;
    shared->setState(FileItem::ready);
    shared->setOutputURL({});
    shared->setStatus(QStringLiteral("Back in the queue"));
    detect(shared);
}

void ConverterModel::splitPair(FileItem* item)
{
    const FileItemPtr pair = find(item);
    if (!pair || !pair->isPair() || pair->state() == FileItem::working)
        return;
    const QueuedSource joined = pair->source();
    const std::vector<FileItemPtr> halves{
        std::make_shared<FileItem>(QueuedSource{joined.path, {}, joined.root, joined.sniffed}),
        std::make_shared<FileItem>(QueuedSource{*joined.right, {}, joined.root, joined.sniffed})};
    items_.replace(pair.get(), halves);
    for (const FileItemPtr& half : halves)
        detect(half);
}

std::optional<QueuedSource> ConverterModel::pairWith(const FileItem* item) const
{
    if (!item || item->isPair())
        return std::nullopt;
    // Paired as intake pairs them, among the files queued from the same folder.
    const std::filesystem::path path = item->filePath();
    PathList neighbours;
    for (const FileItemPtr& other : queue())
        if (!other->isPair() && other->filePath().parent_path() == path.parent_path())
            neighbours.push_back(other->filePath());
    for (const QueuedSource& source : joinSplitStereo(neighbours))
        if (source.right && (source.path == path || *source.right == path))
            return source;
    return std::nullopt;
}

namespace {
bool anyBeingBounced(const std::vector<FileItemPtr>& items)
{
    return std::any_of(items.begin(), items.end(), [](const FileItemPtr& item) { return item->state() == FileItem::working; });
}
} // namespace

// The queued single files that are `pair`'s halves, in queue order.
std::vector<FileItemPtr> ConverterModel::queuedHalves(const QueuedSource& pair) const
{
    std::vector<FileItemPtr> halves;
    for (const FileItemPtr& other : queue())
        if (!other->isPair() && (other->filePath() == pair.path || other->filePath() == *pair.right))
            halves.push_back(other);
    return halves;
}

bool ConverterModel::canJoin(FileItem* item) const
{
    const std::optional<QueuedSource> pair = pairWith(item);
    if (!pair)
        return false;
    return !anyBeingBounced(queuedHalves(*pair));
}

void ConverterModel::joinPair(FileItem* item)
{
    const std::optional<QueuedSource> pair = pairWith(item);
    if (!pair)
        return;
    const std::vector<FileItemPtr> halves = queuedHalves(*pair);
    if (anyBeingBounced(halves))
        return;
    const QueuedSource first = halves.front()->source();
    const auto joined = std::make_shared<FileItem>(QueuedSource{pair->path, pair->right, first.root, first.sniffed});
    items_.removeIf([&](const FileItem& candidate) { return &candidate == halves.back().get(); });
    items_.replace(halves.front().get(), {joined});
    detect(joined);
}

} // namespace quorvel
