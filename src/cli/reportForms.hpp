#pragma once

#include <filesystem>
#include <istream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel::cli {

// A report line's fields as text: strings as they read, numbers, true and false as
// written, null empty, objects as compact JSON. The one reading of a report, whichever
// form it was kept in: resuming compares these.
using ReportCells = std::map<std::string, std::string>;

// The cells of one JSON line; empty when it is not a JSON object.
ReportCells jsonCells(std::string_view line);

// A report named *.csv is kept as CSV (RFC 4180): a header row naming every field a JSON
// line can have, then one row per file with the cells of its JSON line.
bool isCsvReport(const std::filesystem::path& report);
std::string csvHeader();
std::string csvRow(std::string_view jsonLine);

// The next CSV record of `in` (quoted fields may hold commas, quotes and line breaks);
// nothing at its end.
std::optional<std::vector<std::string>> readCsvRecord(std::istream& in);

} // namespace quorvel::cli
