#include "core/io/splitStereo.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <set>
#include <tuple>

namespace quorvel {

namespace fs = std::filesystem;

namespace {

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Pro Tools' channel identifiers: the stereo pair and the surround stems.
bool isChannelIdentifier(const std::string& id)
{
    static constexpr std::array<const char*, 12> kIds{"l", "r", "c", "lfe", "ls", "rs", "lc", "rc", "cs", "lsr", "rsr", "s"};
    const std::string l = lower(id);
    return std::find(kIds.begin(), kIds.end(), l) != kIds.end();
}

struct ChannelName {
    std::string base;
    std::string id;
    std::string extension;
};

// "Gtr.L" → ("Gtr", "L", ""); "Gtr.Ls.sd2" → ("Gtr", "Ls", ".sd2"); nothing without an identifier.
std::optional<ChannelName> channelName(const std::string& fileName)
{
    const auto split = [](const std::string& stem) -> std::optional<std::pair<std::string, std::string>> {
        const auto dot = stem.rfind('.');
        if (dot == std::string::npos || dot == 0 || !isChannelIdentifier(stem.substr(dot + 1)))
            return {};
        return std::pair{stem.substr(0, dot), stem.substr(dot + 1)};
    };
    if (const auto atEnd = split(fileName))
        return ChannelName{atEnd->first, atEnd->second, ""};
    const auto dot = fileName.rfind('.');
    if (dot == std::string::npos || dot == 0)
        return {};
    if (const auto beforeExtension = split(fileName.substr(0, dot)))
        return ChannelName{beforeExtension->first, beforeExtension->second, fileName.substr(dot)};
    return {};
}

} // namespace

std::optional<SplitStereoName> splitStereoName(const std::string& fileName)
{
    const auto name = channelName(fileName);
    if (!name)
        return {};
    const std::string id = lower(name->id);
    if (id != "l" && id != "r")
        return {};
    return SplitStereoName{name->base, id == "l" ? 'L' : 'R', name->extension};
}

std::string QueuedSource::displayStem() const
{
    if (isPair())
        if (const auto name = splitStereoName(path.filename().string()))
            return name->base;
    return path.stem().string();
}

std::vector<QueuedSource> joinSplitStereo(const std::vector<fs::path>& paths)
{
    using Key = std::tuple<std::string, std::string, std::string>; // folder, base, extension
    struct Group {
        std::vector<fs::path> left, right;
        bool surround = false;
    };
    std::map<Key, Group> groups;
    const auto keyOf = [](const fs::path& path, const ChannelName& name) {
        return Key{path.parent_path().string(), name.base, name.extension};
    };
    for (const fs::path& path : paths) {
        const auto name = channelName(path.filename().string());
        if (!name)
            continue;
        Group& group = groups[keyOf(path, *name)];
        const std::string id = lower(name->id);
        auto& side = id == "l" ? group.left : group.right;
        if (id != "l" && id != "r")
            group.surround = true;
        else if (std::find(side.begin(), side.end(), path) == side.end())
            side.push_back(path);
    }

    std::vector<QueuedSource> sources;
    std::set<fs::path> joined;
    for (const fs::path& path : paths) {
        const auto name = channelName(path.filename().string());
        const auto group = name ? groups.find(keyOf(path, *name)) : groups.end();
        const bool pair = group != groups.end() && !group->second.surround && group->second.left.size() == 1 &&
                          group->second.right.size() == 1;
        if (!pair) {
            sources.push_back({path, std::nullopt});
            continue;
        }
        const fs::path& left = group->second.left.front();
        if (joined.insert(left).second)
            sources.push_back({left, group->second.right.front()});
    }
    return sources;
}

} // namespace quorvel
