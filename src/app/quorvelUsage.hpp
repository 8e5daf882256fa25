#pragma once

#include "cli/usage.hpp"

#include <optional>

namespace quorvel {

// quorvel's command line, for --help and its man page.
cli::ProgramDoc quorvelUsage();

// With --help or --version first, prints it and gives the exit status; otherwise nothing,
// and the arguments are paths to open.
std::optional<int> printHelpOrVersion(int argc, char** argv);

} // namespace quorvel
