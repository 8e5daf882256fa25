#include "core/pipeline/keptTree.hpp"

#include <set>
#include <string>

namespace quorvel {

namespace fs = std::filesystem;

namespace {

// The folder named by `folder` with trailing separators and dot steps taken out; ".", ".." and
// their kin, which name no folder by themselves, are made absolute first.
fs::path folderItself(const fs::path& folder)
{
    const auto strip = [](fs::path p) {
        p = p.lexically_normal();
        return p.has_filename() ? p : p.parent_path();
    };
    fs::path p = strip(folder);
    if (p.empty() || p.filename() == "." || p.filename() == "..") {
        std::error_code error;
        const fs::path absolute = fs::absolute(folder, error);
        if (!error)
            p = strip(absolute);
    }
    return p;
}

// Destination drives (exFAT, APFS, NTFS) often ignore letter case, so tree names must differ
// by more than that.
std::string caseFolded(std::string name)
{
    for (char& c : name)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return name;
}

} // namespace

fs::path pathBelowRoot(const fs::path& path, const std::optional<fs::path>& root)
{
    if (!root)
        return path.filename();
    fs::path below = path.lexically_relative(*root);
    return below.empty() || *below.begin() == ".." ? path.filename() : below;
}

fs::path folderName(const fs::path& folder) { return folderItself(folder).filename(); }

fs::path defaultOutputLocation(const QueuedSource& first, bool keepTree)
{
    return keepTree && first.root ? folderItself(*first.root).parent_path() : first.path.parent_path();
}

KeptTree::KeptTree(fs::path out, const std::vector<QueuedSource>& queue) : out_(std::move(out))
{
    std::set<std::string> taken;
    for (const QueuedSource& source : queue) {
        if (!source.root || tops_.contains(*source.root))
            continue;
        const std::string name = folderName(*source.root).string();
        std::string top = name;
        for (int n = 2; !taken.insert(caseFolded(top)).second; ++n)
            top = name + " (" + std::to_string(n) + ")";
        tops_.emplace(*source.root, top);
    }
}

fs::path KeptTree::folderFor(const QueuedSource& source) const
{
    if (!source.root)
        return out_;
    const auto top = tops_.find(*source.root);
    fs::path folder = out_;
    for (const fs::path& step : {top == tops_.end() ? folderName(*source.root) : top->second,
                                 pathBelowRoot(source.path, source.root).parent_path()})
        if (!step.empty())
            folder /= step;
    return folder;
}

} // namespace quorvel
