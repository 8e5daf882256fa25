#include "cli/options.hpp"

#include <charconv>
#include <cstdint>
#include <thread>

namespace quorvel::cli {

namespace {

constexpr unsigned kMaxJobs = 1024;

unsigned parseJobs(std::string_view text)
{
    unsigned jobs = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), jobs);
    if (error != std::errc{} || end != text.data() + text.size() || jobs == 0 || jobs > kMaxJobs)
        throw UsageError("-j takes a whole number of jobs from 1 to " + std::to_string(kMaxJobs) + ", not '" +
                         std::string(text) + "'");
    return jobs;
}

template <class Option>
Option parseNumber(std::string_view option, std::string_view text, std::string_view allowed)
{
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc{} && end == text.data() + text.size())
        if (auto parsed = Option::fromRaw(value))
            return *parsed;
    throw UsageError(std::string(option) + " takes " + std::string(allowed) + ", not '" + std::string(text) + "'");
}

// A target rate or depth, or "source" for each source's own.
template <class Option>
std::int64_t parseTarget(std::string_view option, std::string_view text, std::string_view allowed)
{
    if (text == "source")
        return kSourceOwn;
    return parseNumber<Option>(option, text, std::string(allowed) + " or source").rawValue();
}

TargetChannels parseChannels(std::string_view text)
{
    if (text == "stereo")
        return TargetChannels::stereo;
    if (text == "preserve")
        return TargetChannels::preserve;
    if (text == "mono")
        return TargetChannels::mono;
    throw UsageError("--channels takes stereo, preserve or mono, not '" + std::string(text) + "'");
}

Shard parseShard(std::string_view text)
{
    constexpr std::uint32_t kMaxParts = 1000000;
    Shard shard;
    const char* end = text.data() + text.size();
    const auto [slash, kError] = std::from_chars(text.data(), end, shard.k);
    if (kError == std::errc{} && slash != end && *slash == '/') {
        const auto [last, nError] = std::from_chars(slash + 1, end, shard.n);
        if (nError == std::errc{} && last == end && shard.k >= 1 && shard.k <= shard.n && shard.n <= kMaxParts)
            return shard;
    }
    throw UsageError("--shard takes K/N, the K-th of N parts with 1 ≤ K ≤ N ≤ " + std::to_string(kMaxParts) +
                     ", not '" + std::string(text) + "'");
}

SourceFormatChoice parseSourceFormat(std::string_view text)
{
    if (auto choice = SourceFormatChoice::fromId(text))
        return *choice;
    throw UsageError("--source-format takes auto, s16be, s24be, s16le or s24le, not '" + std::string(text) + "'");
}

// Walks "--name value", "--name=value" and "-j N"/"-jN" forms; PATHs are everything else,
// and everything after "--".
class ArgReader {
public:
    explicit ArgReader(const std::vector<std::string_view>& args) : args_(args) {}

    bool next() { return ++i_ < args_.size(); }
    std::string_view word() const { return args_[i_]; }

    // When the current word is `name` (alone or as name=value), yields its value.
    bool takes(std::string_view name, std::string_view& value)
    {
        const std::string_view w = word();
        if (w == name) {
            if (i_ + 1 >= args_.size())
                throw UsageError(std::string(name) + " needs a value");
            value = args_[++i_];
            return true;
        }
        if (w.size() > name.size() && w.starts_with(name) && (w[name.size()] == '=' || name == "-j")) {
            value = w.substr(name.size() + (w[name.size()] == '=' ? 1 : 0));
            return true;
        }
        return false;
    }

private:
    const std::vector<std::string_view>& args_;
    std::size_t i_ = static_cast<std::size_t>(-1);
};

} // namespace

unsigned defaultJobs()
{
    const unsigned cores = std::thread::hardware_concurrency();
    return cores == 0 ? 1 : cores;
}

namespace {

// Reads the options both commands share and the PATHs; every other option goes to
// `own`, which returns false for words it does not know.
template <class Own>
DetectOptions parseCommon(const std::vector<std::string_view>& args, std::string_view command, Own own)
{
    DetectOptions options;
    options.jobs = defaultJobs();
    ArgReader reader(args);
    bool onlyPaths = false;
    while (reader.next()) {
        std::string_view value;
        const std::string_view w = reader.word();
        if (onlyPaths || w == "-" || !w.starts_with('-'))
            options.paths.emplace_back(w);
        else if (w == "--")
            onlyPaths = true;
        else if (w == "-h" || w == "--help") {
            options.help = true;
            return options;
        }
        else if (w == "--json")
            options.json = true;
        else if (w == "--no-pairs")
            options.joinPairs = false;
        else if (w == "--no-session")
            options.session = false;
        else if (reader.takes("--source-format", value))
            options.sourceFormat = parseSourceFormat(value);
        else if (reader.takes("-j", value) || reader.takes("--jobs", value))
            options.jobs = parseJobs(value);
        else if (!own(reader))
            throw UsageError("unknown option '" + std::string(w) + "'");
    }
    if (options.paths.empty())
        throw UsageError(std::string(command) + " needs at least one file or folder");
    return options;
}

} // namespace

DetectOptions parseDetectOptions(const std::vector<std::string_view>& args)
{
    SourceRate sourceRate = SourceRate::r44100;
    DetectOptions options = parseCommon(args, "detect", [&](ArgReader& reader) {
        std::string_view value;
        if (!reader.takes("--source-rate", value))
            return false;
        sourceRate = parseNumber<SourceRate>("--source-rate", value, "44100, 48000 or 22050");
        return true;
    });
    options.sourceRate = sourceRate;
    return options;
}

ConvertOptions parseConvertOptions(const std::vector<std::string_view>& args)
{
    ConvertOptions options;
    options.common = parseCommon(args, "convert", [&](ArgReader& reader) {
        std::string_view value;
        const std::string_view w = reader.word();
        if (w == "--normalize")
            options.normalize = true;
        else if (w == "--mono")
            options.channelOverride = ChannelOverride::mono;
        else if (w == "--stereo")
            options.channelOverride = ChannelOverride::stereo;
        else if (w == "--keep-tree")
            options.keepTree = true;
        else if (reader.takes("--shard", value))
            options.shard = parseShard(value);
        else if (reader.takes("--report", value)) {
            if (value.empty())
                throw UsageError("--report needs a file");
            options.report = std::string(value);
        }
        else if (w == "--plain-wav")
            options.plainWav = true;
        else if (reader.takes("--originator", value)) {
            if (value.empty() || value.size() > 32)
                throw UsageError("--originator takes a text of 1 to 32 characters, not '" + std::string(value) + "'");
            options.originator = std::string(value);
        }
        else if (reader.takes("--rate", value))
            options.rate = parseTarget<TargetRate>("--rate", value, "44100, 48000, 88200, 96000");
        else if (reader.takes("--depth", value))
            options.depth = parseTarget<TargetDepth>("--depth", value, "16, 24, 32");
        else if (reader.takes("--source-rate", value))
            options.sourceRate = parseNumber<SourceRate>("--source-rate", value, "44100, 48000 or 22050");
        else if (reader.takes("--channels", value))
            options.channels = parseChannels(value);
        else if (reader.takes("-o", value) || reader.takes("--output", value)) {
            if (value.empty())
                throw UsageError("-o needs a folder");
            options.outputFolder = std::string(value);
        }
        else
            return false;
        return true;
    });
    return options;
}

VerifyOptions parseVerifyOptions(const std::vector<std::string_view>& args)
{
    VerifyOptions options;
    bool onlyPaths = false;
    for (const std::string_view word : args) {
        if (onlyPaths || word == "-" || !word.starts_with('-'))
            options.paths.emplace_back(word);
        else if (word == "--")
            onlyPaths = true;
        else if (word == "-h" || word == "--help") {
            options.help = true;
            return options;
        }
        else
            throw UsageError("unknown option '" + std::string(word) + "'");
    }
    if (options.paths.empty())
        throw UsageError("verify needs at least one WAV file");
    return options;
}

} // namespace quorvel::cli
