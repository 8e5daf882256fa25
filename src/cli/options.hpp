#pragma once

#include "core/formats/OutputOptions.hpp"
#include "core/formats/SourceFormat.hpp"
#include "core/pipeline/bounceFile.hpp"

#include <cstdint>
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
    SourceRate sourceRate = SourceRate::r44100; // detect only: the rate reported for files without their own
    bool json = false;
    bool help = false;     // -h or --help in an option's place: print usage, nothing else
    bool joinPairs = true; // split-stereo halves (NAME.L + NAME.R) become one stereo source
    bool session = true;   // a folder's files are evidence for each other
    unsigned jobs = 1;
    std::vector<std::string> paths;
};

// The K-th of N parts of the files found (--shard K/N), 1 ≤ K ≤ N.
struct Shard {
    std::uint32_t k = 1;
    std::uint32_t n = 1;
};

struct ConvertOptions {
    DetectOptions common;
    SourceRate sourceRate = SourceRate::r44100;
    std::int64_t rate = 48000; // kSourceOwn (--rate source): each source's own
    std::int64_t depth = 24;   // kSourceOwn (--depth source): each source's own
    TargetChannels channels = TargetChannels::stereo;
    ChannelOverride channelOverride = ChannelOverride::automatic;
    bool normalize = false;
    std::string outputFolder; // empty: _sd2_outputs beside the first file
    bool keepTree = false;    // outputs in OUT/<given folder's name>/<folders below it>/
    std::string report;       // one line per finished file, read back to skip what is done
    Shard shard;
    bool plainWav = false;    // no bext and MD5 chunks
    std::string originator = "Quorvel"; // the bext chunk's Originator
};

// `sd2wav verify OUTPUT.wav…`: the files whose MD5 chunk is checked against their audio.
struct VerifyOptions {
    bool help = false;
    std::vector<std::string> paths;
};

unsigned defaultJobs();

// Parse the words after the command. Throw UsageError.
DetectOptions parseDetectOptions(const std::vector<std::string_view>& args);
ConvertOptions parseConvertOptions(const std::vector<std::string_view>& args);
VerifyOptions parseVerifyOptions(const std::vector<std::string_view>& args);

} // namespace quorvel::cli
