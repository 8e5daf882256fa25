#include "cli/commands.hpp"
#include "core/io/guardedRead.hpp"

#include <algorithm>
#include <iostream>

namespace {

constexpr const char* kUsage = R"(usage: sd2wav detect [--source-format auto|s16be|s24be|s16le|s24le] [--source-rate HZ]
                     [--json] [-j N] PATH...
       sd2wav convert [--rate 44100|48000|88200|96000] [--depth 16|24|32]
                      [--channels stereo|preserve|mono] [--normalize]
                      [--source-format F] [--source-rate 44100|48000|22050]
                      [--mono|--stereo] [-o DIR] [-j N] [--json] PATH...
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
             --json             one JSON object per line: path, format, channels,
                                confidence, corr, scores, status, rate, from,
                                container (or path, error)
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
  demo     Write synthetic music in all four encodings, mono and stereo, to FOLDER
           (default: sd2wav-demo), then detect it. Existing files are left alone.

Exit status: 0 every file was read (detect) or converted (convert), 1 some file failed,
2 usage error.
)";

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
        if (command == "--help" || command == "-h" || command == "help") {
            std::cout << kUsage;
            return 0;
        }
        const bool wantsHelp = std::find(rest.begin(), rest.end(), "--help") != rest.end() ||
                               std::find(rest.begin(), rest.end(), "-h") != rest.end();
        if ((command == "detect" || command == "convert") && wantsHelp) {
            std::cout << kUsage;
            return 0;
        }
        if (command == "detect")
            return runDetect(parseDetectOptions(rest), std::cout, std::cerr);
        if (command == "convert")
            return runConvert(parseConvertOptions(rest), std::cout, std::cerr);
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
