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
    line += ",\"settings\":" + record.settings;
    return line + "}";
}

std::string settingsJson(const ConvertOptions& options)
{
    return "{\"rate\":" + std::to_string(options.rate.rawValue()) + ",\"depth\":" +
           std::to_string(options.depth.rawValue()) + ",\"channels\":\"" + std::string(channelsWord(options.channels)) +
           "\",\"normalize\":" + flag(options.normalize) + ",\"sourceFormat\":\"" +
           std::string(options.common.sourceFormat.id()) + "\",\"sourceRate\":" +
           std::to_string(options.sourceRate.rawValue()) + ",\"readAs\":\"" +
           std::string(readAsWord(options.channelOverride)) + "\",\"pairs\":" + flag(options.common.joinPairs) +
           ",\"keepTree\":" + flag(options.keepTree) + ",\"session\":" + flag(options.common.session) + "}";
}

} // namespace quorvel::cli
