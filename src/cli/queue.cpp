#include "cli/queue.hpp"
#include "cli/json.hpp"
#include "core/detection/detectSource.hpp"
#include "core/formats/utf8.hpp"
#include "core/io/MappedFile.hpp"
#include "core/pipeline/keptTree.hpp"
#include "model/intake.hpp"

#include <algorithm>
#include <cstdio>

namespace quorvel::cli {

Queue queuePaths(const std::vector<std::string>& given, bool joinPairs)
{
    CollectedPaths intake = collectSd2Paths(PathList(given.begin(), given.end()), {});
    return {queuedSources(intake, joinPairs), std::move(intake.skipped), intake.notAudio};
}

void reportNotAudio(const Queue& queue, std::ostream& err)
{
    if (queue.notAudio > 0)
        err << "sd2wav: left out " << queue.notAudio << (queue.notAudio == 1 ? " file" : " files")
            << " without an extension that did not read as audio\n";
}

bool inShard(const QueuedSource& source, Shard shard)
{
    std::uint64_t hash = 0xcbf29ce484222325; // FNV-1a
    for (const char c : pathBelowRoot(source.path, source.root).generic_string()) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 0x100000001b3;
    }
    // FNV's low bits follow only the names' low bits; MurmurHash3's finaliser spreads them.
    hash ^= hash >> 33;
    hash *= 0xff51afd7ed558ccd;
    hash ^= hash >> 33;
    hash *= 0xc4ceb9fe1a85ec53;
    hash ^= hash >> 33;
    return hash % shard.n == shard.k - 1;
}

std::string skippedLine(const SkippedPath& skipped)
{
    return "sd2wav: couldn't open " + printableName(skipped.path.string()) + ": " +
           printableName(skipped.reason);
}

std::string jsonSource(const QueuedSource& source)
{
    std::string fields = jsonPath("path", source.path.string());
    if (source.isPair())
        fields += ",\"pair\":{\"left\":" + jsonString(source.path.string()) + ",\"right\":" +
                  jsonString(source.right->string()) + "}" + rawPathField("right", source.right->string());
    return fields;
}

std::vector<std::string> sourceNames(const std::vector<QueuedSource>& sources)
{
    std::vector<std::string> names;
    for (const QueuedSource& source : sources)
        names.push_back(source.path.string() + (source.isPair() ? " + R" : ""));
    return names;
}

Detection detectPath(const std::string& path, const std::optional<std::filesystem::path>& root,
                     SourceFormatChoice choice)
{
    const MappedFile file = MappedFile::open(path);
    if (!file.ok())
        return Unreadable{file.error()};
    std::string unreadable;
    if (auto found = detectSource(path, file.bytes(), choice, root, unreadable))
        return *found;
    return Unreadable{unreadable};
}

Detection detectQueued(const QueuedSource& source, SourceFormatChoice choice)
{
    if (!source.isPair())
        return detectPath(source.path.string(), source.root, choice);
    std::string unreadable;
    const MappedFile left = MappedFile::open(source.path), right = MappedFile::open(*source.right);
    if (auto pair = detectPairFiles(source.path, left, *source.right, right, choice, source.root, unreadable))
        return *pair;
    return Unreadable{unreadable};
}

std::size_t nameColumn(const std::vector<std::string>& paths)
{
    std::size_t column = 0;
    for (const std::string& path : paths)
        column = std::max(column, displayWidth(printableName(path)));
    return column;
}

std::string printableName(const std::string& path)
{
    std::string out;
    const auto escape = [&](unsigned char c) {
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
        out += escaped;
    };
    for (std::size_t i = 0; i < path.size(); ++i) {
        const auto c = static_cast<unsigned char>(path[i]);
        if (c == '\n')
            out += "\\n";
        else if (c == '\t')
            out += "\\t";
        else if (c < 0x20 || c == 0x7f)
            escape(c);
        else if (c == 0xc2 && i + 1 < path.size() && static_cast<unsigned char>(path[i + 1]) < 0xa0 &&
                 static_cast<unsigned char>(path[i + 1]) >= 0x80) {
            // U+0080–U+009F in UTF-8: C1 controls, which some terminals obey (CSI is U+009B).
            escape(c);
            escape(static_cast<unsigned char>(path[++i]));
        } else
            out += static_cast<char>(c);
    }
    return out;
}

std::string paddedName(const std::string& path, std::size_t column)
{
    const std::string name = printableName(path);
    return name + std::string(column - displayWidth(name) + 2, ' ');
}

} // namespace quorvel::cli
