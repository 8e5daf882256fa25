#include "cli/commands.hpp"

#include <iostream>

namespace {

constexpr const char* kUsage = R"(usage: sd2wav detect [--source-format auto|s16be|s24be|s16le|s24le] [--json] [-j N] PATH...
       sd2wav demo [FOLDER]
       sd2wav --help

Works out how the headerless audio in Sound Designer II (.sd2) files is encoded.

  detect   For each .sd2 file, print its encoding, whether it is mono or stereo and how
           sure the detection is. PATHs are files or folders; folders are searched
           through, and ".sd2" matches in any letter case.
             --source-format F  read every file as F instead of detecting it (the
                                layout is still detected); default auto
             --json             one JSON object per line: path, format, channels,
                                confidence, corr, scores, status (or path, error)
             -j N               files analysed at once (default: number of cores)
  demo     Write synthetic music in all four encodings, mono and stereo, to FOLDER
           (default: sd2wav-demo), then detect it. Existing files are left alone.

Exit status: 0 every file was read, 1 some file could not be read, 2 usage error.
)";

} // namespace

int main(int argc, char** argv)
{
    using namespace quorvel::cli;
    const std::vector<std::string_view> words(argv + 1, argv + argc);
    try {
        if (words.empty())
            throw UsageError("no command given");
        const std::string_view command = words.front();
        const std::vector<std::string_view> rest(words.begin() + 1, words.end());
        if (command == "--help" || command == "-h" || command == "help") {
            std::cout << kUsage;
            return 0;
        }
        if (command == "detect") {
            for (std::string_view w : rest)
                if (w == "--help" || w == "-h") {
                    std::cout << kUsage;
                    return 0;
                }
            return runDetect(parseDetectOptions(rest), std::cout, std::cerr);
        }
        if (command == "demo") {
            if (rest.size() > 1)
                throw UsageError("demo takes at most one folder");
            return runDemo(rest.empty() ? "sd2wav-demo" : std::string(rest.front()), std::cout, std::cerr);
        }
        throw UsageError("unknown command '" + std::string(command) + "'");
    } catch (const UsageError& error) {
        std::cerr << "sd2wav: " << error.what() << "\n\n" << kUsage;
        return 2;
    }
}
