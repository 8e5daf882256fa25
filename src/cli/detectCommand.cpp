#include "cli/commands.hpp"
#include "cli/json.hpp"
#include "cli/parallel.hpp"
#include "cli/queue.hpp"


namespace quorvel::cli {

namespace {

std::string jsonLine(const std::string& path, const Detection& outcome, std::int64_t defaultRate, bool autoChoice)
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
    line += "},\"status\":" + jsonString(found.status);
    // The rate convert will use: the file's own, else the --source-rate given.
    const auto& described = found.source.description;
    line += ",\"rate\":" + std::to_string(described ? described->rate : defaultRate);
    const bool fromMetadata = described && autoChoice;
    line += ",\"from\":" + jsonString(fromMetadata ? "metadata" : "detection");
    if (described)
        line += ",\"container\":" + jsonString(found.source.container);
    return line + "}";
}

std::string plainLine(const std::string& path, std::size_t nameWidth, const Detection& outcome)
{
    std::string line = paddedName(path, nameWidth);
    if (const auto* failed = std::get_if<Unreadable>(&outcome))
        return line + "Unreadable file (" + failed->reason + ")";
    return line + std::get<FileDetection>(outcome).status;
}

} // namespace

int runDetect(const DetectOptions& options, std::ostream& out, std::ostream& err)
{
    const std::vector<std::string> paths = queuePaths(options.paths);
    if (paths.empty()) {
        err << "sd2wav: no .sd2 files found in the given paths\n";
        return 1;
    }

    const std::size_t nameWidth = nameColumn(paths);

    int status = 0;
    forEachInOrder(
        paths.size(), options.jobs, [&](std::size_t i) { return detectPath(paths[i], options.sourceFormat); },
        [&](std::size_t i, const Detection& outcome) {
            if (std::holds_alternative<Unreadable>(outcome))
                status = 1;
            out << (options.json ? jsonLine(paths[i], outcome, options.sourceRate.rawValue(), options.sourceFormat.isAuto()) : plainLine(paths[i], nameWidth, outcome)) << '\n';
            out.flush();
        });
    return status;
}

} // namespace quorvel::cli
