#include "cli/commands.hpp"
#include "cli/json.hpp"
#include "cli/parallel.hpp"
#include "cli/queue.hpp"
#include "cli/report.hpp"

#include <algorithm>

namespace quorvel::cli {

namespace {

std::string jsonLine(const std::string& path, const Detection& outcome)
{
    std::string line = "{\"path\":" + jsonString(path);
    if (const auto* failed = std::get_if<Unreadable>(&outcome))
        return line + ",\"error\":" + jsonString("Unreadable file: " + failed->reason) + "}";

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
    return line + "},\"status\":" + jsonString(found.status) + "}";
}

std::string plainLine(const std::string& path, std::size_t nameWidth, const Detection& outcome)
{
    std::string line = paddedName(path, nameWidth);
    if (const auto* failed = std::get_if<Unreadable>(&outcome))
        return line + "Unreadable file (" + printableName(failed->reason) + ")";
    return line + std::get<FileDetection>(outcome).status;
}

} // namespace

int runDetect(const DetectOptions& options, std::ostream& out, std::ostream& err)
{
    const Queue queue = queuePaths(options.paths);
    const std::vector<std::string>& paths = queue.paths;
    Report report(out);
    for (const SkippedPath& skipped : queue.skipped) {
        if (options.json)
            report.line("{\"path\":" + jsonString(skipped.path.string()) + ",\"error\":" +
                        jsonString("Couldn't open: " + skipped.reason) + "}");
        else
            err << skippedLine(skipped) << '\n';
    }
    int status = queue.skipped.empty() ? 0 : 1;
    if (paths.empty()) {
        err << "sd2wav: no .sd2 files found in the given paths\n";
        return std::max(1, report.finish(err));
    }

    const std::size_t nameWidth = nameColumn(paths);

    forEachInOrder(
        paths.size(), options.jobs, [&](std::size_t i) { return detectPath(paths[i], options.sourceFormat); },
        [&](std::size_t i, const Detection& outcome) {
            if (std::holds_alternative<Unreadable>(outcome))
                status = 1;
            report.line(options.json ? jsonLine(paths[i], outcome) : plainLine(paths[i], nameWidth, outcome));
        });
    return std::max(status, report.finish(err));
}

} // namespace quorvel::cli
