#include "cli/commands.hpp"
#include "cli/json.hpp"
#include "cli/parallel.hpp"
#include "core/detection/detectFile.hpp"
#include "core/io/MappedFile.hpp"
#include "model/intake.hpp"

#include <QFile>

#include <algorithm>
#include <variant>

namespace quorvel::cli {

namespace {

struct Unreadable {
    std::string reason;
};
using Outcome = std::variant<FileDetection, Unreadable>;

Outcome detectPath(const std::string& path, SourceFormatChoice choice)
{
    const MappedFile file = MappedFile::open(path);
    if (!file.ok())
        return Unreadable{file.error()};
    return detectFile(file.bytes(), choice);
}

std::string jsonLine(const std::string& path, const Outcome& outcome)
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

std::size_t displayWidth(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::string plainLine(const std::string& path, std::size_t nameWidth, const Outcome& outcome)
{
    std::string line = path + std::string(nameWidth - displayWidth(path) + 2, ' ');
    if (const auto* failed = std::get_if<Unreadable>(&outcome))
        return line + "Unreadable file (" + failed->reason + ")";
    return line + std::get<FileDetection>(outcome).status;
}

} // namespace

int runDetect(const DetectOptions& options, std::ostream& out, std::ostream& err)
{
    QStringList given;
    for (const std::string& path : options.paths)
        given.append(QFile::decodeName(path.c_str()));

    std::vector<std::string> paths;
    for (const QString& path : collectSd2Paths(given, {}))
        paths.push_back(QFile::encodeName(path).toStdString());
    if (paths.empty()) {
        err << "sd2wav: no .sd2 files found in the given paths\n";
        return 1;
    }

    std::size_t nameWidth = 0;
    for (const std::string& path : paths)
        nameWidth = std::max(nameWidth, displayWidth(path));

    int status = 0;
    forEachInOrder(
        paths.size(), options.jobs, [&](std::size_t i) { return detectPath(paths[i], options.sourceFormat); },
        [&](std::size_t i, const Outcome& outcome) {
            if (std::holds_alternative<Unreadable>(outcome))
                status = 1;
            out << (options.json ? jsonLine(paths[i], outcome) : plainLine(paths[i], nameWidth, outcome)) << '\n';
            out.flush();
        });
    return status;
}

} // namespace quorvel::cli
