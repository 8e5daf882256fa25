#include "cli/options.hpp"

#include <charconv>
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

DetectOptions parseDetectOptions(const std::vector<std::string_view>& args)
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
        else if (w == "--json")
            options.json = true;
        else if (reader.takes("--source-format", value))
            options.sourceFormat = parseSourceFormat(value);
        else if (reader.takes("-j", value) || reader.takes("--jobs", value))
            options.jobs = parseJobs(value);
        else
            throw UsageError("unknown option '" + std::string(w) + "'");
    }
    if (options.paths.empty())
        throw UsageError("detect needs at least one file or folder");
    return options;
}

} // namespace quorvel::cli
