#pragma once

#include "cli/fileRecord.hpp"
#include "cli/reportForms.hpp"

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace quorvel::cli {

// What an earlier run's report says was done. The report is the only record consulted: a
// file counts as converted when its line says so, not because some output happens to exist.
class EarlierRun {
public:
    // A missing report is a run not started yet; one named *.csv is read as CSV, any other as
    // JSON lines. Lines that do not parse (one cut short by a crash) are passed over; of several lines about one source the last one counts. None,
    // with `error` set, when the report exists but cannot be read.
    static std::optional<EarlierRun> read(const std::filesystem::path& report, std::string& error);

    // Whether the source was converted from the same bytes (path, size, modification time)
    // under the same settings, and its output is still there with the size recorded.
    // `before` is this run's record of the source before converting it.
    bool converted(const FileRecord& before) const;

private:
    std::map<std::string, ReportCells> lines_; // source → its last line
};

} // namespace quorvel::cli
