#pragma once

#include "cli/usage.hpp"

#include <string>
#include <string_view>

// What quorvel-docs writes at build time from a program's usage table.
namespace quorvel::cli {

// The man page, section 1, in roff.
std::string manPage(const ProgramDoc& program, std::string_view version, std::string_view date);

// Completion scripts for a program with commands: its commands, options, their values and the paths.
std::string bashCompletion(const ProgramDoc& program);
std::string zshCompletion(const ProgramDoc& program);
std::string fishCompletion(const ProgramDoc& program);

// An option's help cut to its first clause, for a completion menu.
std::string_view briefHelp(std::string_view help);

} // namespace quorvel::cli
