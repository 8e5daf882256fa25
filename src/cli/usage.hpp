#pragma once

#include <string>
#include <string_view>
#include <vector>

// One description of a program's command line. --help, the man page and the shell
// completions are all rendered from it, so an option added here reaches all of them.
namespace quorvel::cli {

// What a shell offers for an option's value or a command's operands, besides listed choices.
enum class Offer { nothing, paths, folders };

struct OptionDoc {
    std::vector<std::string_view> names;   // as --help shows them: "-j", or "--mono", "--stereo"
    std::string_view value = {};           // placeholder for the value ("HZ"); empty for a flag
    std::vector<std::string_view> choices = {}; // every value it takes, where they can be listed
    Offer offer = Offer::nothing;
    std::string_view help = {};
    std::vector<std::string_view> aliases = {}; // other spellings ("--jobs"): man page and completions
};

struct CommandDoc {
    std::string_view name = {};    // empty for a program without commands
    std::string_view summary = {}; // a few words, for the completions' menus
    std::string_view help = {};
    std::vector<OptionDoc> options = {};
    std::string_view operands = {}; // "PATH...", "[FOLDER]"
    Offer operandOffer = Offer::paths;
};

struct ProgramDoc {
    std::string_view name;
    std::string_view summary;  // the man page's NAME line
    std::vector<std::string_view> description;   // paragraphs
    std::vector<CommandDoc> commands;
    std::vector<OptionDoc> options;              // taken in place of a command: --help, --version
    std::string_view exitStatus;
    std::vector<std::pair<std::string_view, std::string_view>> examples = {}; // command line, what it does
    std::vector<std::string_view> seeAlso = {};
};

ProgramDoc sd2wavUsage();

// Every spelling of an option: its names, then its aliases.
std::vector<std::string_view> spellings(const OptionDoc& option);
std::string join(const std::vector<std::string_view>& words, std::string_view separator);

// The --help text.
std::string usageText(const ProgramDoc& program);

// Writes text asked for (usage, version) to standard output; 0, or 1 with a message
// on standard error when it could not be written.
int printRequested(std::string_view program, std::string_view text);

} // namespace quorvel::cli
