#pragma once

#include "cli/options.hpp"

#include <filesystem>
#include <ostream>

namespace quorvel::cli {

// Each returns the process exit status: 0 all files read, 1 some could not be.
int runDetect(const DetectOptions& options, std::ostream& out, std::ostream& err);

// Converts every file as the app's batch run does; 0 when all converted, 1 otherwise.
int runConvert(const ConvertOptions& options, std::ostream& out, std::ostream& err);

// Checks each file's MD5 chunk against its audio; 0 when all match, 1 at the first that
// does not (or cannot be read), named on `err` with the reason.
int runVerify(const VerifyOptions& options, std::ostream& out, std::ostream& err);

// Writes a folder of synthetic music in every encoding and layout, then detects it.
int runDemo(const std::filesystem::path& folder, std::ostream& out, std::ostream& err);

} // namespace quorvel::cli
