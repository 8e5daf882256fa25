#include "cli/commands.hpp"
#include "cli/json.hpp"
#include "cli/queue.hpp"
#include "cli/report.hpp"
#include "cli/sessions.hpp"

#include <algorithm>

namespace quorvel::cli {

namespace {

std::string jsonLine(const QueuedSource& source, const SessionDetection& detected, std::int64_t defaultRate,
                     bool autoChoice)
{
    const Detection& outcome = detected.detection;
    std::string line = "{";
    line += jsonSource(source);
    if (const auto* failed = std::get_if<Unreadable>(&outcome))
        return line + ",\"error\":" + jsonString("Unreadable file: " + failed->reason) + "}";
    if (const auto* pair = std::get_if<PairDetection>(&outcome)) {
        line += ",\"format\":" + (pair->agree ? jsonString(pair->format.rawValue()) : std::string("null"));
        line += ",\"channels\":2,\"confidence\":" + (pair->agree ? jsonString(pair->confidence) : std::string("null"));
        line += ",\"status\":" + jsonString(pair->status);
        line += ",\"rate\":" + std::to_string(pair->rate.value_or(defaultRate));
        return line + ",\"from\":" + jsonString(answerFrom(source, detected, autoChoice)) + "}";
    }

    const auto& found = std::get<FileDetection>(outcome);
    line += ",\"format\":" + jsonString(found.format.best.rawValue());
    line += ",\"channels\":" + std::to_string(found.channels.channels);
    line += ",\"confidence\":" + jsonString(found.channels.confidence);
    line += ",\"corr\":" + jsonNumber(found.channels.corr);
    line += ",\"scores\":{";
    for (SourceFormat candidate : SourceFormat::allCases()) {
        if (candidate.index() > 0)
            line += ',';
        line += jsonString(candidate.rawValue()) + ":" + jsonNumber(found.format.scores[candidate.index()]);
    }
    line += "},\"status\":" + jsonString(found.status);
    // The rate convert will use: the file's own, else its session's, else the --source-rate given.
    const auto& described = found.source.description;
    line += ",\"rate\":" + std::to_string(found.source.rate().value_or(detected.session.rate.value_or(defaultRate)));
    line += ",\"from\":" + jsonString(answerFrom(source, detected, autoChoice));
    if (described)
        line += ",\"container\":" + jsonString(found.source.container);
    return line + "}";
}

std::string plainLine(const std::string& name, std::size_t nameWidth, const Detection& outcome)
{
    std::string line = paddedName(name, nameWidth);
    if (const auto* failed = std::get_if<Unreadable>(&outcome))
        return line + "Unreadable file (" + printableName(failed->reason) + ")";
    if (const auto* pair = std::get_if<PairDetection>(&outcome))
        return line + pair->status;
    return line + std::get<FileDetection>(outcome).status;
}

} // namespace

int runDetect(const DetectOptions& options, std::ostream& out, std::ostream& err)
{
    const Queue queue = queuePaths(options.paths, options.joinPairs);
    const std::vector<QueuedSource>& sources = queue.sources;
    const std::vector<std::string> names = sourceNames(sources);
    Report report(out);
    for (const SkippedPath& skipped : queue.skipped) {
        if (options.json)
            report.line("{\"path\":" + jsonString(skipped.path.string()) + ",\"error\":" +
                        jsonString("Couldn't open: " + skipped.reason) + "}");
        else
            err << skippedLine(skipped) << '\n';
    }
    reportNotAudio(queue, err);
    int status = queue.skipped.empty() ? 0 : 1;
    if (sources.empty()) {
        err << "sd2wav: no .sd2 files found in the given paths\n";
        return std::max(1, report.finish(err));
    }

    const std::size_t nameWidth = nameColumn(names);

    detectInSessions(sources, options.sourceFormat, options.jobs, options.session,
                     [&](std::size_t i, const SessionDetection& detected) {
                         if (std::holds_alternative<Unreadable>(detected.detection))
                             status = 1;
                         report.line(options.json ? jsonLine(sources[i], detected, options.sourceRate.rawValue(),
                                                             options.sourceFormat.isAuto())
                                                  : plainLine(names[i], nameWidth, detected.detection));
                     });
    return std::max(status, report.finish(err));
}

} // namespace quorvel::cli
