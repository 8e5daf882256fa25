#include "core/pipeline/WavContainer.hpp"
#include "core/formats/riffChunks.hpp"
#include "core/io/SourceHash.hpp"
#include "core/pipeline/outputNaming.hpp"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace quorvel {

namespace {

constexpr std::size_t kHistoryBytes = 2048;
// RIFF sizes are 32-bit: past this the file is RF64. Room is left for the header, and for
// the bext and MD5 chunks when there are any.
constexpr std::int64_t kWavDataLimit = 0xFFFFFFFFLL - 1024;
constexpr std::int64_t kBroadcastChunks = 8 + 602 + static_cast<std::int64_t>(kHistoryBytes) + 8 + 16;
constexpr std::int16_t kNotMeasured = 0x7FFF; // a bext loudness field left unset
constexpr std::array<char, 4> kMD5Chunk{'M', 'D', '5', ' '};

int subformat(std::int64_t depth)
{
    switch (depth) {
    case 16: return SF_FORMAT_PCM_16;
    case 24: return SF_FORMAT_PCM_24;
    case 32: return SF_FORMAT_PCM_32;
    }
    throw WriteError("unsupported bit depth " + std::to_string(depth));
}

std::int16_t centi(double value)
{
    return static_cast<std::int16_t>(std::clamp(std::lround(value * 100.0), -32767L, 32766L));
}

void copyField(char* field, std::size_t size, const std::string& text)
{
    const std::string ascii = bextText(text, size);
    std::memcpy(field, ascii.data(), ascii.size());
}

} // namespace

void WavContainer::Closer::operator()(sf_private_tag* file) const { sf_close(file); }

WavContainer::WavContainer(const OutputTarget& to, std::int64_t rate, std::int64_t channels, std::int64_t depth,
                           std::int64_t frames)
    : to_(to), frameBytes_(channels * (depth / 8)), partial_(PartialFile::create(to.path))
{
    SF_INFO info{};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    const std::int64_t limit = kWavDataLimit - (to.broadcast ? kBroadcastChunks : 0);
    rf64_ = frames * frameBytes_ > limit;
    info.format = (rf64_ ? SF_FORMAT_RF64 : SF_FORMAT_WAV) | subformat(depth);
    if (partial_.fd() < 0)
        throw WriteError("couldn't create a file in " + to.path.parent_path().string() + ": " + partial_.error());
    file_.reset(sf_open_fd(partial_.fd(), SFM_WRITE, &info, SF_FALSE));
    if (!file_)
        throw WriteError(std::string("couldn't start the WAV file: ") + sf_strerror(nullptr));
    if (to_.broadcast)
        setBroadcastInfo(std::string(32, '0')); // the reference is known at the end, at the same size
}

WavContainer::~WavContainer() = default;

bool WavContainer::appendMD5Chunk(std::span<const std::uint8_t> md5)
{
    // As BWF MetaEdit keeps it: the digest as one little-endian 128-bit number, so its bytes
    // lie in reverse order, and readers that show the number show the usual hex digest.
    std::vector<std::uint8_t> chunk(kMD5Chunk.begin(), kMD5Chunk.end());
    chunk.insert(chunk.end(), {16, 0, 0, 0});
    chunk.insert(chunk.end(), md5.rbegin(), md5.rend());
    std::int64_t end = partial_.size();
    if (end & 1)
        chunk.insert(chunk.begin(), 0); // chunks start at even offsets
    if (end < 12 || !partial_.writeAt(end, chunk))
        return false;
    end += static_cast<std::int64_t>(chunk.size());
    // The form's size now takes the chunk in: in the RIFF header, or for RF64 in its ds64 chunk.
    std::array<std::uint8_t, 8> size{};
    for (std::size_t i = 0; i < size.size(); ++i)
        size[i] = static_cast<std::uint8_t>(static_cast<std::uint64_t>(end - 8) >> (8 * i));
    if (!rf64_)
        return partial_.writeAt(4, std::span(size).first(4));
    const auto chunks = riffChunks([&](std::int64_t at, std::span<std::uint8_t> out) { return partial_.readAt(at, out); },
                                   end);
    if (!chunks || chunks->empty() || chunks->front().id != "ds64")
        return false;
    return partial_.writeAt(chunks->front().offset, size);
}

void WavContainer::setBroadcastInfo(const std::string& reference)
{
    const BroadcastInfo& from = *to_.broadcast;
    SF_BROADCAST_INFO_VAR(kHistoryBytes) info{};
    copyField(info.description, sizeof info.description, from.description);
    copyField(info.originator, sizeof info.originator, from.originator);
    copyField(info.originator_reference, sizeof info.originator_reference, reference);
    copyField(info.origination_date, sizeof info.origination_date, from.originationDate);
    copyField(info.origination_time, sizeof info.origination_time, from.originationTime);
    info.version = 2;
    info.loudness_value = loudness_ ? centi(loudness_->integratedLUFS) : kNotMeasured;
    info.max_true_peak_level = loudness_ ? centi(loudness_->truePeakDBTP) : kNotMeasured;
    info.loudness_range = info.max_momentary_loudness = info.max_shortterm_loudness = kNotMeasured;
    std::string history;
    for (const std::string& row : from.codingHistory)
        history += bextText(row, kHistoryBytes / 4) + "\r\n";
    history.resize(std::min(history.size(), kHistoryBytes - 1));
    std::memcpy(info.coding_history, history.data(), history.size());
    info.coding_history_size = static_cast<std::uint32_t>(history.size());
    if (sf_command(file_.get(), SFC_SET_BROADCAST_INFO, &info, sizeof info) != SF_TRUE)
        throw WriteError(std::string("couldn't write the bext chunk: ") + sf_strerror(file_.get()));
}

void WavContainer::write(std::vector<std::uint8_t>& block, std::size_t size)
{
    if (to_.stop && to_.stop->load())
        throw WriteError("stopped");
    const auto bytes = static_cast<sf_count_t>(size);
    if (sf_write_raw(file_.get(), block.data(), bytes) != bytes)
        throw WriteError(std::string("couldn't write the file: ") + sf_strerror(file_.get()));
    written_ += bytes;
    md5_.add(block, size);
}

std::filesystem::path WavContainer::finish(ExistingFile existing)
{
    const std::vector<std::uint8_t> md5 = md5_.finish();
    facts_.audioMD5 = hexText(md5);
    facts_.frames = frameBytes_ > 0 ? written_ / frameBytes_ : 0;
    for (SourceHash* source : to_.sources) {
        facts_.sourceSHA256.push_back(source->finish());
        if (facts_.sourceSHA256.back().empty())
            throw WriteError("couldn't read audio");
    }
    if (to_.broadcast) {
        Digest reference(Digest::Kind::sha256);
        std::string seed = to_.broadcast->referenceSeed;
        for (const std::string& sha : facts_.sourceSHA256)
            seed += '\n' + sha;
        reference.add({reinterpret_cast<const std::uint8_t*>(seed.data()), seed.size()});
        setBroadcastInfo(hexText(reference.finish()).substr(0, 32));
    }
    // Closing writes the final chunk sizes, which can fail too (a full disk).
    if (sf_close(file_.release()) != 0)
        throw WriteError(std::string("couldn't finish the file: ") + sf_strerror(nullptr));
    if (to_.broadcast && !appendMD5Chunk(md5))
        throw WriteError("couldn't add the MD5 chunk: " + partial_.error());
    facts_.bytes = partial_.size();
    const std::filesystem::path& to = to_.path;
    if (existing == ExistingFile::replace) {
        if (!partial_.publishReplacing(to))
            throw WriteError("couldn't put the file in place: " + partial_.error());
        return to;
    }
    if (to_.beforePublish) {
        facts_.bytes = partial_.syncedSize();
        if (facts_.bytes < 0)
            throw WriteError("couldn't put the file on disk: " + partial_.error());
        to_.beforePublish(facts_);
    }
    std::filesystem::path written = partial_.publish(to, nextOutputCandidate);
    if (written.empty())
        throw WriteError("couldn't put the file in place: " + partial_.error());
    return written;
}

} // namespace quorvel
