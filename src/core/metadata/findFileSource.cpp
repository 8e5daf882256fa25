#include "core/metadata/findFileSource.hpp"
#include "core/io/readBytes.hpp"
#include "core/metadata/ByteReader.hpp"
#include "core/metadata/appleEntries.hpp"
#include "core/metadata/macBinary.hpp"
#include "core/metadata/resourceFork.hpp"
#include "core/metadata/trustDescription.hpp"

#include <algorithm>
#include <vector>

namespace quorvel {

namespace fs = std::filesystem;

namespace {

// A classic resource fork addresses at most 16 MB of data; larger sidecars are not forks.
constexpr std::int64_t kForkLimit = 16 << 20;
constexpr std::int64_t kSidecarLimit = kForkLimit + 64 * 1024;
// Room for an AppleSingle entry table of a few hundred entries and a MacBinary header.
constexpr std::int64_t kHeadBytes = 4096;

bool sd2Type(std::span<const std::uint8_t> typeBytes)
{
    return typeBytes.size() >= 4 && typeBytes[0] == 'S' && typeBytes[1] == 'd' && typeBytes[2] == '2' &&
           typeBytes[3] == 'f';
}

// What one fork says, and whether its Finder type was 'Sd2f'.
struct ForkReading {
    std::optional<SourceDescription> description;
    bool typedSd2 = false;
    std::string container;
    std::optional<std::int64_t> created; // an AppleDouble file's creation date
};

ForkReading readFork(std::span<const std::uint8_t> fork, bool typedSd2, std::string container)
{
    ForkReading reading{std::nullopt, typedSd2, std::move(container), {}};
    if (const auto strings = parseResourceFork(fork))
        reading.description = trustedDescription(*strings, typedSd2);
    return reading;
}

// Errors that mean there is no sidecar at that path: nothing there, a name too long to
// exist, or a socket.
bool absent(const std::error_code& error)
{
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
           error == std::errc::filename_too_long || error == std::errc::no_such_device_or_address;
}

// A sidecar holds an AppleDouble file or a bare resource fork. `error` is set when one is
// there but could not be read.
std::optional<ForkReading> readSidecar(const fs::path& path, std::error_code& error)
{
    const auto file = readBytes(path, 0, kSidecarLimit, &error);
    if (absent(error))
        error.clear();
    if (!file || file->bytes.empty())
        return std::nullopt;
    const ByteReader in(file->bytes);
    const auto size = static_cast<std::int64_t>(file->bytes.size());
    if (const auto entries = parseAppleEntries(file->bytes, size); entries && !entries->single) {
        const auto range = [&](const std::optional<ByteRange>& entry) {
            return entry ? in.bytes(entry->offset, entry->length) : std::nullopt;
        };
        const auto info = range(entries->finderInfo);
        const bool typed = info && sd2Type(*info);
        const auto fork = range(entries->resourceFork);
        ForkReading reading = fork ? readFork(*fork, typed, "AppleDouble") : ForkReading{std::nullopt, typed, "AppleDouble", {}};
        reading.created = entries->created;
        return reading;
    }
    return readFork(file->bytes, false, "resource fork");
}

std::vector<fs::path> sidecarCandidates(const fs::path& file, const std::optional<fs::path>& root)
{
    std::vector<fs::path> candidates;
    const fs::path name = file.filename();
    const fs::path dir = file.parent_path();
#ifdef __APPLE__
    candidates.push_back(file / "..namedfork" / "rsrc");
#endif
    candidates.push_back(dir / ("._" + name.string()));
    candidates.push_back(dir / ".AppleDouble" / name);
    // __MACOSX/REL/._NAME in the file's folder and in each folder above it up to the one
    // given, nearest first: a __MACOSX further up (in /tmp, say) may be anyone's.
    std::vector<fs::path> steps;
    const fs::path below = root ? dir.lexically_relative(*root) : fs::path();
    for (const fs::path& step : below)
        if (step != ".")
            steps.push_back(step);
    const bool underRoot = !below.empty() && (steps.empty() || steps.front() != "..");
    if (!underRoot)
        steps.clear();
    for (std::size_t split = steps.size() + 1; split-- > 0;) {
        fs::path ancestor = underRoot ? *root : dir, rel;
        for (std::size_t i = 0; i < steps.size(); ++i)
            (i < split ? ancestor : rel) /= steps[i];
        candidates.push_back(ancestor / "__MACOSX" / rel / ("._" + name.string()));
    }
    return candidates;
}

// The file as its own container: MacBinary, then AppleSingle.
struct ContainerReading {
    ByteRange dataFork;
    std::optional<ByteRange> resourceFork;
    bool typedSd2 = false;
    std::string container;
    std::string storedName;
    std::optional<std::int64_t> created;
};

std::optional<ContainerReading> readContainer(const fs::path& file)
{
    const auto head = readBytes(file, 0, kHeadBytes);
    if (!head)
        return std::nullopt;
    if (const auto mac = parseMacBinary(head->bytes, head->fileSize))
        return ContainerReading{mac->dataFork, mac->resourceFork, sd2Type(mac->type), "MacBinary", mac->name, mac->created};
    const auto entries = parseAppleEntries(head->bytes, head->fileSize);
    if (!entries || !entries->single)
        return std::nullopt;
    ContainerReading reading{entries->dataFork.value_or(ByteRange{}), entries->resourceFork, false, "AppleSingle", {},
                             entries->created};
    if (entries->finderInfo && entries->finderInfo->length >= 4)
        if (const auto type = readBytes(file, entries->finderInfo->offset, 4))
            reading.typedSd2 = sd2Type(type->bytes);
    return reading;
}

std::optional<ForkReading> readContainerFork(const fs::path& file, const ContainerReading& container)
{
    if (!container.resourceFork || container.resourceFork->length > kForkLimit)
        return std::nullopt;
    const auto fork = readBytes(file, container.resourceFork->offset, container.resourceFork->length);
    if (!fork || static_cast<std::int64_t>(fork->bytes.size()) != container.resourceFork->length)
        return std::nullopt;
    return readFork(fork->bytes, container.typedSd2, container.container);
}

} // namespace

FileSource findFileSource(const fs::path& file, const std::optional<fs::path>& root)
{
    FileSource source;
    const std::optional<ContainerReading> container = readContainer(file);
    if (container) {
        source.offset = container->dataFork.offset;
        source.length = container->dataFork.length;
        source.storedName = container->storedName;
        source.created = container->created;
    }
    for (const fs::path& candidate : sidecarCandidates(file, root)) {
        std::error_code error;
        const auto reading = readSidecar(candidate, error);
        if (error) {
            // It may hold the description: no guess past it.
            source.unreadable = candidate.string() + ": " + error.message();
            return source;
        }
        if (reading && !source.created)
            source.created = reading->created;
        if (reading && reading->description) {
            source.description = reading->description;
            source.container = reading->container;
            return source;
        }
    }
    if (container)
        if (const auto reading = readContainerFork(file, *container); reading && reading->description) {
            source.description = reading->description;
            source.container = reading->container;
        }
    return source;
}

bool hasSd2FinderType(const fs::path& file, bool readHeader, const std::optional<fs::path>& root)
{
    for (const fs::path& candidate : sidecarCandidates(file, root)) {
        std::error_code unreadable;
        if (const auto reading = readSidecar(candidate, unreadable); reading && reading->typedSd2)
            return true;
    }
    if (!readHeader)
        return false;
    const auto container = readContainer(file);
    return container && container->typedSd2;
}

bool isSidecarPath(const fs::path& path)
{
    if (path.filename().string().starts_with("._"))
        return true;
    for (const fs::path& part : path.parent_path())
        if (part == ".AppleDouble" || part == "__MACOSX")
            return true;
    return false;
}

} // namespace quorvel
