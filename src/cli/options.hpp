#pragma once

#include "core/formats/SourceFormat.hpp"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel::cli {

// A command line that cannot be run: reported with the usage text, exit status 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct DetectOptions {
    SourceFormatChoice sourceFormat = SourceFormatChoice::automatic();
    bool json = false;
    unsigned jobs = 1;
    std::vector<std::string> paths;
};

unsigned defaultJobs();

// Parses the words after "detect". Throws UsageError.
DetectOptions parseDetectOptions(const std::vector<std::string_view>& args);

} // namespace quorvel::cli
