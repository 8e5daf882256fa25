// Bytes → every reader of a file's own metadata: as a bare resource fork, as an AppleDouble
// sidecar, as a MacBinary header and as an AppleSingle file, in memory and through
// findFileSource on disk (the bytes as both the file and its "._" sidecar). Beyond
// ASan/UBSan, every answer must stay inside the bytes it came from and every trusted
// description must be one the converter can use.
#include "check.hpp"
#include "scratchFolder.hpp"

#include "core/metadata/appleEntries.hpp"
#include "core/metadata/findFileSource.hpp"
#include "core/metadata/macBinary.hpp"
#include "core/metadata/resourceFork.hpp"
#include "core/metadata/trustDescription.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

void write(const fs::path& path, std::span<const std::uint8_t> bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void checkDescription(const std::optional<SourceDescription>& d)
{
    if (!d)
        return;
    const SourceFormat f = d->format;
    FUZZ_CHECK(f == SourceFormat::s8 || f == SourceFormat::s16be || f == SourceFormat::s24be || f == SourceFormat::s32be,
               "format %s", std::string(f.rawValue()).c_str());
    FUZZ_CHECK(d->channels == 1 || d->channels == 2, "channels %lld", static_cast<long long>(d->channels));
    FUZZ_CHECK(d->rate >= 1000 && d->rate <= 768000, "rate %lld", static_cast<long long>(d->rate));
}

void checkFork(std::span<const std::uint8_t> fork)
{
    if (const auto strings = parseResourceFork(fork)) {
        for (const auto* s : {&strings->sampleSize, &strings->sampleRate, &strings->channels})
            FUZZ_CHECK(!*s || (*s)->size() < fork.size(), "a string of %zu bytes from %zu", (*s)->size(), fork.size());
        checkDescription(trustedDescription(*strings, false));
        checkDescription(trustedDescription(*strings, true));
    }
}

bool inside(const ByteRange& r, std::int64_t size) { return r.offset >= 0 && r.length >= 0 && r.offset + r.length <= size; }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::ScratchFolder scratch("fuzz-fork");
    const std::span<const std::uint8_t> bytes(data, size);
    const auto total = static_cast<std::int64_t>(size);

    checkFork(bytes);
    if (const auto entries = parseAppleEntries(bytes, total)) {
        for (const auto* e : {&entries->dataFork, &entries->resourceFork, &entries->finderInfo})
            FUZZ_CHECK(!*e || inside(**e, total), "entry %lld+%lld of %lld", static_cast<long long>((*e)->offset),
                       static_cast<long long>((*e)->length), static_cast<long long>(total));
        if (entries->resourceFork)
            checkFork(bytes.subspan(static_cast<std::size_t>(entries->resourceFork->offset),
                                    static_cast<std::size_t>(entries->resourceFork->length)));
    }
    if (const auto header = parseMacBinary(bytes, total)) {
        FUZZ_CHECK(inside(header->dataFork, total) && inside(header->resourceFork, total), "forks outside %lld",
                   static_cast<long long>(total));
        FUZZ_CHECK(!header->name.empty() && header->name.size() <= 63, "name of %zu bytes", header->name.size());
        checkFork(bytes.subspan(static_cast<std::size_t>(header->resourceFork.offset),
                                static_cast<std::size_t>(header->resourceFork.length)));
    }

    // On disk: the input as the file itself and as its sidecar.
    const fs::path file = scratch.root / "Mix 3";
    write(file, bytes);
    write(scratch.root / "._Mix 3", bytes);
    const FileSource source = findFileSource(file, scratch.root);
    checkDescription(source.description);
    const auto audio = source.audio(bytes);
    FUZZ_CHECK(audio.data() >= bytes.data() && audio.data() + audio.size() <= bytes.data() + bytes.size(),
               "audio outside the file");
    FUZZ_CHECK(source.offset >= 0 && (!source.length || source.offset + *source.length <= total),
               "data fork %lld+%lld of %lld", static_cast<long long>(source.offset),
               static_cast<long long>(source.length.value_or(-1)), static_cast<long long>(total));
    FUZZ_CHECK(source.description.has_value() == !source.container.empty(), "container '%s' without a description",
               source.container.c_str());
    FUZZ_CHECK(source.unreadable.empty(), "a readable sidecar reported as unreadable: %s", source.unreadable.c_str());
    hasSd2FinderType(file, true, scratch.root);
    return 0;
}
