#include "core/pipeline/provenance.hpp"
#include "core/formats/OutputOptions.hpp"
#include "core/version.hpp"

#include <chrono>
#include <cstdio>

namespace quorvel {

namespace {

// "how it was read", for the description and for the source's coding-history row.
struct How {
    std::string described, history;
};

How howRead(const SourceReading& reading)
{
    switch (reading.from.encoding) {
    case Origin::metadata: return {reading.container + " fork", "from " + reading.container + " fork"};
    case Origin::session: return {"its session", "as its session reads"};
    case Origin::content: return {"read from its content", "read from its content"};
    case Origin::set: return {"as set", "as set by hand"};
    case Origin::detection: break;
    }
    return {"detected", "detected from the samples"};
}

std::string layoutWord(std::int64_t channels) { return channels == 1 ? "mono" : "stereo"; }

std::string row(std::int64_t rate, std::int64_t bits, const std::string& mode, const std::string& text)
{
    return "A=PCM,F=" + std::to_string(rate) + ",W=" + std::to_string(bits) + ",M=" + mode + ",T=" + text;
}

std::optional<std::int64_t> modified(const std::filesystem::path& path)
{
    std::error_code error;
    const auto time = std::filesystem::last_write_time(path, error);
    if (error)
        return std::nullopt;
    using namespace std::chrono;
    return duration_cast<seconds>(file_clock::to_sys(time).time_since_epoch()).count();
}

void dateAndTime(std::int64_t since1970, BroadcastInfo& info)
{
    using namespace std::chrono;
    const sys_seconds at{seconds(since1970)};
    const sys_days day = floor<days>(at);
    const year_month_day date(day);
    const hh_mm_ss clock(at - day);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()));
    info.originationDate = text;
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    info.originationTime = text;
}

} // namespace

std::string_view originWord(Origin origin)
{
    switch (origin) {
    case Origin::metadata: return "metadata";
    case Origin::session: return "session";
    case Origin::content: return "content";
    case Origin::set: return "set";
    case Origin::detection: break;
    }
    return "detection";
}

std::int64_t sourceDepth(SourceFormat format) { return std::max(16, 8 * format.bytesPerSample()); }

BroadcastInfo broadcastInfo(const SourceReading& reading, const OutputShape& shape, const std::string& originator)
{
    const How how = howRead(reading);
    const std::string layout = reading.pair ? "stereo pair" : layoutWord(reading.channels);
    BroadcastInfo info;
    info.originator = originator;
    // The reading leads, so a long name is what a cut at the field's end takes from.
    const std::string reads = " · " + std::string(reading.format.shortText()) + " · " + layout + " · " +
                              khz(reading.rate) + " (" + how.described + ")";
    const std::string name = bextText(reading.name, 256);
    info.description = name.size() + bextText(reads, 256).size() <= 256
                           ? reading.name + reads
                           : name.substr(0, 256 - bextText(reads, 256).size() - 3) + "..." + reads;
    if (const auto date = reading.created ? reading.created : modified(reading.path))
        dateAndTime(*date, info);

    const std::string version = "Quorvel " + std::string(quorvelVersion());
    info.codingHistory.push_back(row(reading.rate, 8 * reading.format.bytesPerSample(),
                                     reading.pair ? "dual-mono" : layoutWord(reading.channels),
                                     "Sound Designer II data, " + std::string(reading.format.shortText()) + ", " +
                                         (reading.pair ? "split stereo pair, " : "") + how.history));
    const std::string mode = layoutWord(shape.channels);
    info.codingHistory.push_back(row(shape.rate, shape.depth, mode,
                                     version + (shape.rate != reading.rate ? "; libsoxr very high quality" : "")));
    if (shape.normalised)
        info.codingHistory.push_back(
            row(shape.rate, shape.depth, mode, version + "; loudness normalised to -14 LUFS, true peak -1 dBTP"));
    info.referenceSeed = info.description + "\n" + mode + "," + std::to_string(shape.rate) + "," +
                         std::to_string(shape.depth) + (shape.normalised ? ",normalised" : "");
    return info;
}

} // namespace quorvel
