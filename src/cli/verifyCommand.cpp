#include "cli/commands.hpp"
#include "cli/queue.hpp"
#include "core/formats/riffChunks.hpp"
#include "core/io/Digest.hpp"
#include "core/io/MappedFile.hpp"
#include "core/io/guardedRead.hpp"

#include <algorithm>

namespace quorvel::cli {

namespace {

constexpr std::size_t kBlockBytes = 8 << 20;

// Empty when the file's MD5 chunk holds the MD5 of its data chunk's payload; else why not.
std::string mismatch(const std::string& path)
{
    const MappedFile file = MappedFile::open(path);
    if (!file.ok())
        return "couldn't read it: " + file.error();
    std::optional<std::vector<RiffChunk>> chunks;
    std::vector<std::uint8_t> recorded, computed;
    Digest md5(Digest::Kind::md5);
    const bool read = guardedRead([&] {
        chunks = riffChunks(file.bytes());
        if (!chunks)
            return;
        for (const RiffChunk& chunk : *chunks) {
            const auto payload = file.bytes().subspan(static_cast<std::size_t>(chunk.offset), static_cast<std::size_t>(chunk.size));
            if (chunk.id == "MD5 ") // a little-endian 128-bit number, as BWF MetaEdit writes it
                recorded.assign(payload.rbegin(), payload.rend());
            else if (chunk.id == "data" && computed.empty()) {
                for (std::size_t at = 0; at < payload.size(); at += kBlockBytes) {
                    const auto block = payload.subspan(at, std::min(kBlockBytes, payload.size() - at));
                    md5.add(block);
                    releaseResidentPages(block);
                }
                computed = md5.finish();
            }
        }
    });
    if (!read)
        return std::string(kChangedWhileRead);
    if (!chunks)
        return "not a WAV file";
    if (computed.empty())
        return "no data chunk";
    if (recorded.size() != 16)
        return "no MD5 chunk";
    if (recorded != computed)
        return "the audio's MD5 is " + hexText(computed) + ", its MD5 chunk says " + hexText(recorded);
    return {};
}

} // namespace

int runVerify(const VerifyOptions& options, std::ostream& out, std::ostream& err)
{
    for (const std::string& path : options.paths) {
        if (const std::string why = mismatch(path); !why.empty()) {
            err << "sd2wav: " << printableName(path) << ": " << printableName(why) << "\n";
            return 1;
        }
        out << printableName(path) << "  MD5 matches\n";
    }
    return out.flush() ? 0 : 1;
}

} // namespace quorvel::cli
