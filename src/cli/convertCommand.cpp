#include "cli/commands.hpp"
#include "cli/earlierRun.hpp"
#include "cli/fileRecord.hpp"
#include "cli/json.hpp"
#include "cli/parallel.hpp"
#include "cli/queue.hpp"
#include "cli/report.hpp"
#include "cli/reportForms.hpp"
#include "cli/sessions.hpp"
#include "core/io/MappedFile.hpp"
#include "core/io/PartialFile.hpp"
#include "core/io/SyncedLog.hpp"
#include "core/pipeline/bounceFile.hpp"
#include "core/pipeline/keptTree.hpp"
#include "core/pipeline/outputFolder.hpp"
#include "core/pipeline/outputNaming.hpp"
#include "core/pipeline/sessionSettings.hpp"
#include "core/pipeline/treeFolders.hpp"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <set>
#include <unistd.h>

namespace quorvel::cli {

namespace fs = std::filesystem;

namespace {

// Hands out output names in queue order, whatever order the jobs reach that step in, so
// two sources with the same name get the same "(2)" whatever -j is. Each file takes its
// turn exactly once: by claiming a name, or by passing when it failed before naming.
class OrderedNames {
public:
    fs::path claim(std::size_t index, const fs::path& dir, const std::string& stem)
    {
        std::unique_lock lock(mutex_);
        turn_.wait(lock, [&] { return next_ == index; });
        fs::path candidate = outputCandidate(dir, stem, 1);
        std::error_code ignored;
        for (std::int64_t n = 2; taken_.contains(candidate) || fs::exists(fs::symlink_status(candidate, ignored)); ++n)
            candidate = outputCandidate(dir, stem, n);
        taken_.insert(candidate);
        advance();
        return candidate;
    }

    void pass(std::size_t index)
    {
        std::unique_lock lock(mutex_);
        turn_.wait(lock, [&] { return next_ == index; });
        advance();
    }

private:
    void advance()
    {
        ++next_;
        turn_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable turn_;
    std::size_t next_ = 0;
    std::set<fs::path> taken_;
};

// What the files of a run share: output names in queue order, the kept tree and its folders,
// and the report being written.
struct Run {
    // `linkFree`: the default output folder, in whose kept tree no link is followed.
    explicit Run(std::optional<fs::path> linkFree) : folders(std::move(linkFree)) {}

    OrderedNames names;
    std::optional<KeptTree> tree;
    TreeFolders folders;
    std::optional<SyncedLog> log;
    bool csv = false; // the report is kept as CSV rather than JSON lines
    std::atomic<bool> logFailed{false};

    // A file's JSON line, in the report's form.
    void keep(const std::string& line)
    {
        if (log && !logFailed && !log->append(csv ? csvRow(line) : line))
            logFailed = true;
    }
};

// One file's bounce as the run sees it: it names the output in its turn (in the kept tree when
// asked), and keeps the file's line in the report just before the output appears, so a run
// killed at any point has a line for every file it left under a final name.
class FileObserver : public BounceObserver {
public:
    FileObserver(Run& run, std::size_t index, FileRecord record)
        : run_(run), index_(index), record_(std::move(record))
    {
    }
    ~FileObserver() override
    {
        if (!named_)
            run_.names.pass(index_);
    }

    fs::path chooseOutput(const fs::path& dir, const std::string& base, std::int64_t rate, std::int64_t depth,
                          std::int64_t channels) override
    {
        const fs::path folder = run_.tree ? run_.tree->folderFor(record_.source) : dir;
        if (run_.tree)
            hold_.emplace(run_.folders.hold(folder)); // throws when it cannot: the file fails with the reason
        named_ = true;
        return run_.names.claim(index_, folder, outputStem(base, rate, depth, channels));
    }

    bool recordsOutputs() const override { return run_.log.has_value(); }
    void beforePublishing(const BounceResult& result) override
    {
        record_.result = result;
        record_.outputBytes = result.facts.bytes;
        kept_ = jsonLine(record_);
        run_.keep(kept_);
    }

    // The file's line once its bounce is over; kept too, unless the line kept already says it.
    std::string finished(const BounceResult& result)
    {
        record_.outputBytes = result.ok ? std::optional(result.facts.bytes) : std::nullopt;
        record_.result = result;
        std::string line = jsonLine(record_);
        if (line != kept_)
            run_.keep(line);
        return line;
    }

private:
    Run& run_;
    std::size_t index_;
    FileRecord record_;
    bool named_ = false;
    std::optional<TreeFolders::Hold> hold_;
    std::string kept_;
};

struct Finished {
    BounceResult result;
    std::string line;
};

std::string plainLine(const std::string& path, std::size_t width, const BounceResult& r)
{
    std::string line = paddedName(path, width) + printableName(r.status);
    // The status texts are short by design; a tool user also wants the cause.
    if (!r.ok && !r.reason.empty() && r.status.find(r.reason) == std::string::npos)
        line += " (" + printableName(r.reason) + ")";
    return line;
}

// "[##########----------] 12/200" redrawn in place on a terminal; wiped when done is total.
void drawProgress(std::size_t done, std::size_t total)
{
    constexpr std::size_t kWidth = 30;
    const std::size_t filled = done * kWidth / total;
    std::string line = "\r[";
    line.append(filled, '#').append(kWidth - filled, '-').append("] ");
    line.append(std::to_string(done)).append("/").append(std::to_string(total));
    if (done == total) {
        line.assign(line.size(), ' ');
        line.front() = '\r';
        line.push_back('\r');
    }
    (void)!::write(STDERR_FILENO, line.data(), line.size());
}

// _sd2_outputs goes beside the first file that can be read: a mistyped path must not grow
// folders, nor catch the other files' outputs.
std::optional<QueuedSource> firstReadable(const std::vector<QueuedSource>& sources)
{
    const auto readable = std::find_if(sources.begin(), sources.end(),
                                       [](const QueuedSource& source) { return MappedFile::open(source.path).ok(); });
    if (readable == sources.end())
        return std::nullopt;
    return *readable;
}

std::string files(std::size_t count) { return std::to_string(count) + (count == 1 ? " file" : " files"); }

// What a killed run left half written goes, from every folder this run's files belong in.
void removeAbandonedPartials(const std::vector<FileRecord>& records, const Run& run, const fs::path& out)
{
    std::set<fs::path> folders;
    for (const FileRecord& record : records)
        folders.insert(run.tree ? run.tree->folderFor(record.source) : out);
    for (const fs::path& folder : folders)
        PartialFile::removeAbandoned(folder);
}

// Leaves out the files the report lists as converted, and says how many. False, with the
// reason said, when the report cannot be read.
bool skipConverted(std::vector<FileRecord>& records, const std::string& report, std::ostream& err)
{
    std::string error;
    const std::optional<EarlierRun> earlier = EarlierRun::read(report, error);
    if (!earlier) {
        err << "sd2wav: couldn't read the report " << printableName(report) << ": " << printableName(error) << "\n";
        return false;
    }
    const auto done = std::erase_if(records, [&](const FileRecord& record) { return earlier->converted(record); });
    if (done > 0)
        err << "sd2wav: skipped " << files(done) << " that " << printableName(report) << " lists as converted\n";
    return true;
}

BounceResult convertOne(const QueuedSource& source, const SessionDetection& detected, const ConvertOptions& options,
                        const BounceSettings& settings, BounceObserver& observer)
{
    // A pair's halves are read again when it is bounced.
    const auto* found = std::get_if<FileDetection>(&detected.detection);
    const SourceFormat format = found ? found->format.best : SourceFormat{SourceFormat::s16be};
    const std::int64_t detectedChannels = found ? found->channels.channels : 2;
    const BounceItem item{source.path, [&] { return format; },
                          [&]() -> std::int64_t {
                              switch (options.channelOverride) {
                              case ChannelOverride::mono: return 1;
                              case ChannelOverride::stereo: return 2;
                              case ChannelOverride::automatic: break;
                              }
                              return detectedChannels;
                          },
                          source.right, source.root,
                          [&] { return options.channelOverride != ChannelOverride::automatic; }, source.sniffed};
    return bounceFile(item, withSession(settings, detected.session), observer);
}

} // namespace

int runConvert(const ConvertOptions& options, std::ostream& out, std::ostream& err)
{
    const Queue queue = queuePaths(options.common.paths, options.common.joinPairs);
    Report report(out);
    for (const SkippedPath& skipped : queue.skipped) {
        if (options.common.json)
            report.line("{\"path\":" + jsonString(skipped.path.string()) +
                        ",\"output\":null,\"ok\":false,\"status\":\"Couldn't open\",\"error\":" +
                        jsonString(skipped.reason) + "}");
        else
            err << skippedLine(skipped) << '\n';
    }
    reportNotAudio(queue, err);
    int status = queue.skipped.empty() ? 0 : 1;
    if (queue.sources.empty()) {
        err << "sd2wav: no .sd2 files found in the given paths\n";
        return std::max(1, report.finish(err));
    }

    BounceSettings settings;
    settings.sourceFormat = options.common.sourceFormat;
    settings.sourceRate = options.sourceRate.rawValue();
    settings.targetRate = options.rate;
    settings.depth = options.depth;
    settings.broadcastWav = !options.plainWav;
    settings.originator = options.originator;
    settings.channels = options.channels;
    settings.normalize = options.normalize;
    // The output folder and the kept tree's names come from the whole queue, so every shard
    // of it agrees on them. With no readable file there is no folder to make: every file
    // fails before writing.
    const std::optional<QueuedSource> first = firstReadable(queue.sources);
    const fs::path location = defaultOutputLocation(first.value_or(queue.sources.front()), options.keepTree);
    const bool chosenFolder = !options.outputFolder.empty();
    settings.outputFolder = chosenFolder ? fs::path(options.outputFolder) : location / kDefaultOutputFolderName;
    Run run(chosenFolder ? std::nullopt : std::optional(settings.outputFolder));
    if (options.keepTree)
        run.tree.emplace(settings.outputFolder, queue.sources);

    const std::string settingsText = settingsJson(options);
    std::vector<FileRecord> records;
    for (const QueuedSource& source : queue.sources)
        if (inShard(source, options.shard))
            records.push_back(recordBefore(source, settingsText));
    if (records.empty()) {
        err << "sd2wav: none of the " << files(queue.sources.size()) << " found falls in shard " << options.shard.k
            << "/" << options.shard.n << "\n";
        return std::max(status, report.finish(err));
    }
    if (!options.report.empty()) {
        if (!skipConverted(records, options.report, err))
            return 1;
        if (records.empty())
            return std::max(status, report.finish(err));
        std::error_code ignored;
        const bool fresh = !fs::exists(options.report, ignored) || fs::file_size(options.report, ignored) == 0;
        run.log.emplace(options.report);
        run.csv = isCsvReport(options.report);
        if (!run.log->ok() || (run.csv && fresh && !run.log->append(csvHeader()))) {
            err << "sd2wav: couldn't open the report " << printableName(options.report) << ": "
                << printableName(run.log->error()) << "\n";
            return 1;
        }
    }
    if (first)
        settings.outputFolderError =
            prepareOutputFolder(chosenFolder ? std::optional(settings.outputFolder) : std::nullopt, location).error;
    // Swept only once the default folder is known not to lead elsewhere.
    if (settings.outputFolderError.empty())
        removeAbandonedPartials(records, run, settings.outputFolder);

    std::vector<QueuedSource> sources;
    for (const FileRecord& record : records)
        sources.push_back(record.source);
    const std::vector<std::string> paths = sourceNames(sources);
    const std::size_t width = nameColumn(paths);
    const bool progress = ::isatty(STDERR_FILENO) == 1;
    if (progress)
        drawProgress(0, paths.size());
    // Every source is detected first, and its session settled, as the app does once a
    // folder's detections are in. A session is its whole folder, whichever files this run
    // converts of it.
    const std::vector<SessionDetection> detected = detectPart(queue.sources, sources, settings.sourceFormat,
                                                              options.common.jobs, options.common.session);
    for (std::size_t i = 0; i < records.size(); ++i)
        records[i].from = answerFrom(sources[i], detected[i], settings.sourceFormat.isAuto());
    forEachInOrder(
        paths.size(), options.common.jobs,
        [&](std::size_t i) {
            FileObserver observer(run, i, records[i]);
            const BounceResult result = convertOne(sources[i], detected[i], options, settings, observer);
            std::string line = observer.finished(result);
            return Finished{result, std::move(line)};
        },
        [&](std::size_t i, const Finished& done) {
            if (!done.result.ok)
                status = 1;
            if (progress)
                drawProgress(paths.size(), paths.size()); // clear the bar before printing over it
            report.line(options.common.json ? done.line : plainLine(paths[i], width, done.result));
            if (progress && i + 1 < paths.size())
                drawProgress(i + 1, paths.size());
        });
    if (run.logFailed) {
        err << "sd2wav: couldn't write the report " << printableName(options.report) << ": "
            << printableName(run.log->error()) << "\n";
        status = 1;
    }
    return std::max(status, report.finish(err));
}

} // namespace quorvel::cli
