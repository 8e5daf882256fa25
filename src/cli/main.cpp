#include "cli/commands.hpp"
#include "cli/queue.hpp"
#include "cli/usage.hpp"
#include "core/io/guardedRead.hpp"
#include "core/io/standardDescriptors.hpp"
#include "core/version.hpp"

#include <iostream>

int main(int argc, char** argv)
{
    using namespace quorvel::cli;
    quorvel::openClosedStandardDescriptors();
    quorvel::reportFileSizeLimitAsError();
    const std::vector<std::string_view> words(argv + 1, argv + argc);
    const std::string usage = usageText(sd2wavUsage());
    const auto printUsage = [&] { return printRequested("sd2wav", usage); };
    try {
        if (words.empty())
            throw UsageError("no command given");
        const std::string_view command = words.front();
        const std::vector<std::string_view> rest(words.begin() + 1, words.end());
        if (command == "--help" || command == "-h" || command == "help")
            return printUsage();
        if (command == "--version")
            return printRequested("sd2wav", "sd2wav " + std::string(quorvel::quorvelVersion()) + " (" +
                                                quorvel::audioLibraryVersions() + ")\n");
        // Help is an option like any other: an option's value or a word after "--" is a path.
        if (command == "detect") {
            const DetectOptions options = parseDetectOptions(rest);
            return options.help ? printUsage() : runDetect(options, std::cout, std::cerr);
        }
        if (command == "convert") {
            const ConvertOptions options = parseConvertOptions(rest);
            return options.common.help ? printUsage() : runConvert(options, std::cout, std::cerr);
        }
        if (command == "verify") {
            const VerifyOptions options = parseVerifyOptions(rest);
            return options.help ? printUsage() : runVerify(options, std::cout, std::cerr);
        }
        if (command == "demo") {
            std::vector<std::string_view> folders = rest;
            if (!folders.empty() && (folders.front() == "-h" || folders.front() == "--help"))
                return printUsage();
            if (!folders.empty() && folders.front() == "--")
                folders.erase(folders.begin());
            else if (!folders.empty() && folders.front().starts_with('-') && folders.front() != "-")
                throw UsageError("unknown option '" + std::string(folders.front()) + "' (put -- before a folder named so)");
            if (folders.size() > 1)
                throw UsageError("demo takes at most one folder");
            return runDemo(folders.empty() ? "sd2wav-demo" : std::string(folders.front()), std::cout, std::cerr);
        }
        throw UsageError("unknown command '" + std::string(command) + "'");
    } catch (const UsageError& error) {
        std::cerr << "sd2wav: " << printableName(error.what()) << "\n\n" << usage;
        return 2;
    }
}
