#include "cli/commands.hpp"
#include "cli/queue.hpp"
#include "core/io/guardedRead.hpp"

#include <cerrno>
#include <iostream>
#include <system_error>

namespace {

constexpr const char* kUsage = R"(usage: sd2wav detect [--source-format auto|s16be|s24be|s16le|s24le] [--source-rate HZ]
                     [--json] [--no-pairs] [--no-session] [-j N] PATH...
       sd2wav convert [--rate 44100|48000|88200|96000] [--depth 16|24|32]
                      [--channels stereo|preserve|mono] [--normalize]
                      [--source-format F] [--source-rate 44100|48000|22050]
                      [--mono|--stereo] [--no-pairs] [--no-session] [-o DIR] [-j N]
                      [--json] PATH...
       sd2wav demo [FOLDER]
       sd2wav --help

Works out how the headerless audio in Sound Designer II (.sd2) files is encoded, and
bounces it to WAV.

  detect   For each .sd2 file, print its encoding, whether it is mono or stereo and how
           sure the detection is, or what the file's own metadata (resource fork,
           AppleDouble, MacBinary, AppleSingle) says. PATHs are files or folders;
           folders are searched through, and ".sd2" matches in any letter case.
             --source-format F  read every file as F instead of detecting it (the
                                layout is still detected); default auto
             --source-rate HZ   the rate reported for files without their own
                                metadata (default 44100)
             --json             one JSON object per line: path, format, channels,
                                confidence, corr, scores, status, rate, from
                                (metadata, session, content or detection),
                                container (or path, error); a split-stereo pair
                                adds pair: {left, right}
             --no-pairs         keep NAME.L and NAME.R as two mono files instead of
                                joining them into one stereo source
             --no-session       judge every file on its own: by default the files of
                                one folder are one session, and a file without its
                                own metadata takes the rate its folder's forks agree
                                on, an unsure one the encoding and layout at least
                                three sure files agree on
             -j N               files analysed at once (default: number of cores)
  convert  Bounce each file to WAV, as the Quorvel app's BOUNCE does: encoding checked
           and auto-corrected when it reads as static, never overwriting a file.
             --rate HZ          output rate (default 48000)
             --depth BITS       output bit depth, integer PCM (default 24)
             --channels C       stereo deliverable, preserve source or force mono
                                (default stereo)
             --normalize        match to −14 LUFS with a −1 dBTP true-peak ceiling
             --source-rate HZ   the rate the source was recorded at, for files whose
                                metadata gives none (default 44100)
             --mono, --stereo   read every file as mono or stereo instead of detecting it
             -o DIR             output folder (default: _sd2_outputs beside the first file)
             -j N               files converted at once (default: number of cores)
             --json             one JSON object per line: path, output, ok, status,
                                format, channels, autoCorrected (and error)
             --no-pairs         convert NAME.L and NAME.R as two mono files
             --no-session       judge every file on its own, as detect --no-session
  demo     Write synthetic music in all four encodings, mono and stereo, to FOLDER
           (default: sd2wav-demo), then detect it. Existing files are left alone.

Exit status: 0 every file was read (detect) or converted (convert), 1 some file failed,
a folder could not be opened or the report could not be written, 2 usage error.
)";

// Usage asked for goes to standard output, and must arrive there.
int printUsage()
{
    errno = 0;
    std::cout << kUsage << std::flush;
    if (std::cout)
        return 0;
    std::cerr << "sd2wav: couldn't write to standard output: "
              << (errno != 0 ? std::generic_category().message(errno) : "the write failed") << '\n';
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    using namespace quorvel::cli;
    quorvel::reportFileSizeLimitAsError();
    const std::vector<std::string_view> words(argv + 1, argv + argc);
    try {
        if (words.empty())
            throw UsageError("no command given");
        const std::string_view command = words.front();
        const std::vector<std::string_view> rest(words.begin() + 1, words.end());
        if (command == "--help" || command == "-h" || command == "help")
            return printUsage();
        // Help is an option like any other: an option's value or a word after "--" is a path.
        if (command == "detect") {
            const DetectOptions options = parseDetectOptions(rest);
            return options.help ? printUsage() : runDetect(options, std::cout, std::cerr);
        }
        if (command == "convert") {
            const ConvertOptions options = parseConvertOptions(rest);
            return options.common.help ? printUsage() : runConvert(options, std::cout, std::cerr);
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
        std::cerr << "sd2wav: " << printableName(error.what()) << "\n\n" << kUsage;
        return 2;
    }
}
