#include "cli/commands.hpp"
#include "cli/json.hpp"
#include "cli/parallel.hpp"
#include "cli/queue.hpp"
#include "cli/report.hpp"
#include "cli/sessions.hpp"
#include "core/io/MappedFile.hpp"
#include "core/pipeline/bounceFile.hpp"
#include "core/pipeline/outputFolder.hpp"
#include "core/pipeline/outputNaming.hpp"
#include "core/pipeline/sessionSettings.hpp"

#include <algorithm>
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

class NamingObserver : public BounceObserver {
public:
    NamingObserver(OrderedNames& names, std::size_t index) : names_(names), index_(index) {}
    ~NamingObserver() override
    {
        if (!named_)
            names_.pass(index_);
    }

    fs::path chooseOutput(const fs::path& dir, const std::string& base, std::int64_t rate, std::int64_t depth,
                          std::int64_t channels) override
    {
        named_ = true;
        return names_.claim(index_, dir, outputStem(base, rate, depth, channels));
    }

private:
    OrderedNames& names_;
    std::size_t index_;
    bool named_ = false;
};

std::string jsonLine(const QueuedSource& source, const BounceResult& r)
{
    std::string line = "{\"path\":" + jsonString(source.path.string());
    if (source.isPair())
        line += ",\"pair\":{\"left\":" + jsonString(source.path.string()) + ",\"right\":" +
                jsonString(source.right->string()) + "}";
    line += ",\"output\":" + (r.ok ? jsonString(r.output.string()) : std::string("null"));
    line += std::string(",\"ok\":") + (r.ok ? "true" : "false");
    line += ",\"status\":" + jsonString(r.status);
    if (!r.ok)
        line += ",\"error\":" + jsonString(r.reason);
    line += ",\"format\":" + jsonString(r.format.rawValue());
    line += ",\"channels\":" + std::to_string(r.sourceChannels);
    line += std::string(",\"autoCorrected\":") + (r.autoCorrected ? "true" : "false");
    return line + "}";
}

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

// _sd2_outputs goes beside the first file that can be read: a mistyped path must not
// grow folders, nor catch the other files' outputs.
std::optional<fs::path> defaultOutputLocation(const std::vector<QueuedSource>& sources)
{
    const auto readable = std::find_if(sources.begin(), sources.end(),
                                       [](const QueuedSource& source) { return MappedFile::open(source.path).ok(); });
    if (readable == sources.end())
        return std::nullopt;
    return readable->path.parent_path();
}

} // namespace

int runConvert(const ConvertOptions& options, std::ostream& out, std::ostream& err)
{
    const Queue queue = queuePaths(options.common.paths, options.common.joinPairs);
    const std::vector<QueuedSource>& sources = queue.sources;
    const std::vector<std::string> paths = sourceNames(sources);
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
    if (paths.empty()) {
        err << "sd2wav: no .sd2 files found in the given paths\n";
        return std::max(1, report.finish(err));
    }

    BounceSettings settings;
    settings.sourceFormat = options.common.sourceFormat;
    settings.sourceRate = options.sourceRate.rawValue();
    settings.targetRate = options.rate.rawValue();
    settings.depth = options.depth.rawValue();
    settings.channels = options.channels;
    settings.normalize = options.normalize;
    if (!options.outputFolder.empty()) {
        settings.outputFolder = options.outputFolder;
        std::error_code ignored; // a folder that cannot be made shows up in every file's write error
        fs::create_directories(settings.outputFolder, ignored);
    } else if (const std::optional<fs::path> location = defaultOutputLocation(sources)) {
        OutputFolder folder = makeDefaultOutputFolder(*location);
        settings.outputFolder = std::move(folder.path);
        settings.outputFolderError = std::move(folder.error);
    } else {
        // With no readable file there is no folder to make: every file fails before writing.
        settings.outputFolder = sources.front().path.parent_path() / kDefaultOutputFolderName;
    }

    const std::size_t width = nameColumn(paths);

    const bool progress = ::isatty(STDERR_FILENO) == 1;
    OrderedNames names;
    if (progress)
        drawProgress(0, paths.size());
    // Every source is detected first, and its session settled, as the app does once a
    // folder's detections are in.
    std::vector<SessionDetection> detected;
    detected.reserve(sources.size());
    detectInSessions(sources, settings.sourceFormat, options.common.jobs, options.common.session,
                     [&](std::size_t, SessionDetection& source) { detected.push_back(std::move(source)); });
    forEachInOrder(
        paths.size(), options.common.jobs,
        [&](std::size_t i) {
            const auto* found = std::get_if<FileDetection>(&detected[i].detection);
            const SourceFormat format = found ? found->format.best : SourceFormat{SourceFormat::s16be};
            const std::int64_t detectedChannels = found ? found->channels.channels : 2;
            const BounceItem item{
                sources[i].path, [&] { return format; },
                [&]() -> std::int64_t {
                    switch (options.channelOverride) {
                    case ChannelOverride::mono: return 1;
                    case ChannelOverride::stereo: return 2;
                    case ChannelOverride::automatic: break;
                    }
                    return detectedChannels;
                },
                sources[i].right, sources[i].root};
            NamingObserver observer(names, i);
            return bounceFile(item, withSession(settings, detected[i].session), observer);
        },
        [&](std::size_t i, const BounceResult& result) {
            if (!result.ok)
                status = 1;
            if (progress)
                drawProgress(paths.size(), paths.size()); // clear the bar before printing over it
            report.line(options.common.json ? jsonLine(sources[i], result) : plainLine(paths[i], width, result));
            if (progress && i + 1 < paths.size())
                drawProgress(i + 1, paths.size());
        });
    return std::max(status, report.finish(err));
}

} // namespace quorvel::cli
