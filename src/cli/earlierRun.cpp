#include "cli/earlierRun.hpp"

#include <QByteArray>

#include <cerrno>
#include <fstream>
#include <system_error>

namespace quorvel::cli {

namespace fs = std::filesystem;

namespace {

std::string cellOf(const ReportCells& line, const char* key)
{
    const auto found = line.find(key);
    return found == line.end() ? std::string() : found->second;
}

std::string sourceKey(const ReportCells& line) { return cellOf(line, "path") + '\0' + cellOf(line, "rawPath"); }

fs::path outputOf(const ReportCells& line)
{
    const std::string raw = cellOf(line, "rawOutput");
    if (!raw.empty())
        return QByteArray::fromPercentEncoding(QByteArray::fromStdString(raw)).toStdString();
    return cellOf(line, "output");
}

} // namespace

std::optional<EarlierRun> EarlierRun::read(const fs::path& report, std::string& error)
{
    EarlierRun run;
    std::error_code missing;
    if (!fs::exists(report, missing) && !missing)
        return run;
    std::ifstream in(report, std::ios::binary);
    if (!in) {
        error = std::generic_category().message(errno);
        return std::nullopt;
    }
    const auto keep = [&](ReportCells cells) {
        if (cells.contains("path"))
            run.lines_[sourceKey(cells)] = std::move(cells);
    };
    if (isCsvReport(report)) {
        if (const auto header = readCsvRecord(in))
            while (const auto record = readCsvRecord(in)) {
                ReportCells cells;
                for (std::size_t i = 0; i < header->size() && i < record->size(); ++i)
                    if (!(*record)[i].empty())
                        cells[(*header)[i]] = (*record)[i];
                keep(std::move(cells));
            }
    } else {
        for (std::string line; std::getline(in, line);)
            keep(jsonCells(line));
    }
    if (in.bad()) {
        error = std::generic_category().message(errno);
        return std::nullopt;
    }
    return run;
}

bool EarlierRun::converted(const FileRecord& before) const
{
    const ReportCells now = jsonCells(jsonLine(before));
    const auto found = lines_.find(sourceKey(now));
    if (found == lines_.end())
        return false;
    const ReportCells& then = found->second;
    if (cellOf(then, "ok") != "true")
        return false;
    for (const char* key : {"pair", "rawRight", "size", "modified", "rightSize", "rightModified", "settings"})
        if (cellOf(then, key) != cellOf(now, key))
            return false;
    const fs::path output = outputOf(then);
    std::error_code error;
    if (!fs::is_regular_file(fs::symlink_status(output, error)))
        return false;
    const auto size = fs::file_size(output, error);
    return !error && !cellOf(then, "outputSize").empty() && std::to_string(size) == cellOf(then, "outputSize");
}

} // namespace quorvel::cli
