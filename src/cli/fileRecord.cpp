#include "cli/fileRecord.hpp"
#include "cli/json.hpp"
#include "cli/queue.hpp"

#include <chrono>
#include <cstdio>

namespace quorvel::cli {

namespace fs = std::filesystem;

namespace {

std::string utcText(fs::file_time_type time)
{
    using namespace std::chrono;
    const auto since = duration_cast<nanoseconds>(file_clock::to_sys(time).time_since_epoch());
    const sys_days day = floor<days>(sys_time<nanoseconds>(since));
    const year_month_day date(day);
    const hh_mm_ss clock(sys_time<nanoseconds>(since) - day);
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%09lldZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), static_cast<long long>(clock.subseconds().count()));
    return text;
}

std::string stampFields(const std::string& size, const std::string& modified, const std::optional<FileStamp>& stamp)
{
    return ",\"" + size + "\":" + (stamp ? std::to_string(stamp->size) : "null") + ",\"" + modified +
           "\":" + (stamp ? jsonString(stamp->modified) : "null");
}

std::string_view channelsWord(TargetChannels channels)
{
    switch (channels) {
    case TargetChannels::stereo: return "stereo";
    case TargetChannels::preserve: return "preserve";
    case TargetChannels::mono: break;
    }
    return "mono";
}

std::string_view readAsWord(ChannelOverride choice)
{
    switch (choice) {
    case ChannelOverride::mono: return "mono";
    case ChannelOverride::stereo: return "stereo";
    case ChannelOverride::automatic: break;
    }
    return "auto";
}

const char* flag(bool on) { return on ? "true" : "false"; }

std::string orNull(const std::string& text) { return text.empty() ? "null" : jsonString(text); }

// What the output and its source's hashes say: null until the file converted.
std::string archiveFields(const FileRecord& record)
{
    const BounceResult& r = record.result;
    const OutputFacts& facts = r.facts;
    const auto sha = [&](std::size_t i) { return i < facts.sourceSHA256.size() ? orNull(facts.sourceSHA256[i]) : "null"; };
    std::string fields = ",\"sha256\":" + sha(0);
    if (record.source.isPair())
        fields += ",\"rightSha256\":" + sha(1);
    fields += ",\"audioMD5\":" + orNull(r.ok ? facts.audioMD5 : "");
    fields += ",\"frames\":" + (r.ok ? std::to_string(facts.frames) : std::string("null"));
    fields += ",\"rate\":" + (r.analysed ? std::to_string(r.sourceRate) : std::string("null"));
    for (const auto& [name, origin] : {std::pair{"encodingFrom", r.from.encoding}, std::pair{"layoutFrom", r.from.layout},
                                       std::pair{"rateFrom", r.from.rate}})
        fields += ",\"" + std::string(name) + "\":" + (r.analysed ? jsonString(originWord(origin)) : std::string("null"));
    return fields;
}

std::string targetWord(std::int64_t value) { return value == kSourceOwn ? "\"source\"" : std::to_string(value); }

} // namespace

std::optional<FileStamp> fileStamp(const fs::path& path)
{
    std::error_code error;
    const auto size = fs::file_size(path, error);
    if (error)
        return std::nullopt;
    const auto modified = fs::last_write_time(path, error);
    if (error)
        return std::nullopt;
    return FileStamp{static_cast<std::int64_t>(size), utcText(modified)};
}

FileRecord recordBefore(const QueuedSource& source, const std::string& settings)
{
    return {source, {}, fileStamp(source.path), source.right ? fileStamp(*source.right) : std::nullopt, std::nullopt,
            settings, {}};
}

std::string jsonLine(const FileRecord& record)
{
    const BounceResult& r = record.result;
    std::string line = "{";
    line += jsonSource(record.source);
    line += ',';
    line += r.ok ? jsonPath("output", r.output.string()) : std::string("\"output\":null");
    line += std::string(",\"ok\":") + flag(r.ok);
    line += ",\"status\":" + jsonString(r.status);
    if (!r.ok)
        line += ",\"error\":" + jsonString(r.reason);
    line += ",\"format\":" + jsonString(r.format.rawValue());
    line += ",\"channels\":" + std::to_string(r.sourceChannels);
    line += std::string(",\"autoCorrected\":") + flag(r.autoCorrected);
    line += ",\"from\":" + (record.from.empty() ? std::string("null") : jsonString(record.from));
    line += stampFields("size", "modified", record.stamp);
    if (record.source.isPair())
        line += stampFields("rightSize", "rightModified", record.rightStamp);
    line += ",\"outputSize\":" + (record.outputBytes ? std::to_string(*record.outputBytes) : std::string("null"));
    line += archiveFields(record);
    line += ",\"settings\":" + record.settings;
    return line + "}";
}

std::string settingsJson(const ConvertOptions& options)
{
    return "{\"rate\":" + targetWord(options.rate) + ",\"depth\":" + targetWord(options.depth) + ",\"channels\":\"" +
           std::string(channelsWord(options.channels)) +
           "\",\"normalize\":" + flag(options.normalize) + ",\"sourceFormat\":\"" +
           std::string(options.common.sourceFormat.id()) + "\",\"sourceRate\":" +
           std::to_string(options.sourceRate.rawValue()) + ",\"readAs\":\"" +
           std::string(readAsWord(options.channelOverride)) + "\",\"pairs\":" + flag(options.common.joinPairs) +
           ",\"keepTree\":" + flag(options.keepTree) + ",\"session\":" + flag(options.common.session) +
           ",\"plainWav\":" + flag(options.plainWav) + ",\"originator\":" + jsonString(options.originator) + "}";
}

} // namespace quorvel::cli
