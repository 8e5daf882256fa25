// Bytes → a folder tree with awkward names, symlink loops and dangling links → the path
// intake. The result is held against a walk of our own done with plain POSIX calls: the same
// paths byte for byte (bare names given are taken), none through a symlinked folder, queued
// ones and second spellings of one file left out, and in the documented order (the given paths
// side by side as a file browser sorts names, a folder's files under its name and then by their
// path below it, level by level; folders of one name in the order given).
#include "check.hpp"
#include "scratchFolder.hpp"
#include "intakeProgram.hpp"

#include "model/intake.hpp"

#include <QCollator>
#include <QLocale>
#include <QString>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

const fs::path& scratchRoot()
{
    static const fuzz::ScratchFolder s("fuzz-intake");
    return s.root;
}

std::string printable(const std::string& bytes)
{
    std::string text;
    for (unsigned char c : bytes) {
        if (c >= 0x20 && c < 0x7F && c != '\\') {
            text += static_cast<char>(c);
        } else {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\x%02x", c);
            text += buf;
        }
    }
    return text;
}

std::string baseName(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool endsWithSd2(const std::string& name)
{
    if (name.size() < 4)
        return false;
    const std::string tail = name.substr(name.size() - 4);
    return tail[0] == '.' && (tail[1] | 0x20) == 's' && (tail[2] | 0x20) == 'd' && tail[3] == '2';
}

// No extension, or a channel suffix as the only one: taken when given and it exists. In a
// walk such names are sniffed, and the tree's files are empty, so none reads as audio.
bool isBareName(const std::string& name)
{
    const auto dot = name.find('.');
    if (dot == std::string::npos)
        return true;
    if (dot == 0 || name.find('.', dot + 1) != std::string::npos)
        return false;
    std::string suffix = name.substr(dot);
    for (char& c : suffix)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    return suffix == ".l" || suffix == ".r" || suffix == ".c" || suffix == ".ls" || suffix == ".rs" || suffix == ".lfe";
}

bool exists(const std::string& path)
{
    struct stat st {};
    return stat(path.c_str(), &st) == 0;
}

// AppleDouble sidecars ("._NAME", anything under .AppleDouble or __MACOSX) describe other
// files and are never queued themselves.
bool isSidecar(const std::string& path)
{
    if (baseName(path).starts_with("._"))
        return true;
    const std::string folders = "/" + path.substr(0, path.size() - baseName(path).size());
    return folders.find("/.AppleDouble/") != std::string::npos || folders.find("/__MACOSX/") != std::string::npos;
}

std::string join(const std::string& dir, const std::string& name)
{
    return !dir.empty() && dir.back() == '/' ? dir + name : dir + "/" + name;
}

bool isRealFolder(const std::string& path)
{
    struct stat st {};
    return lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// Device and inode of what the path leads to; its normalised absolute spelling when it
// leads nowhere.
std::string identity(const std::string& path)
{
    struct stat st {};
    if (stat(path.c_str(), &st) == 0)
        return std::to_string(st.st_dev) + ":" + std::to_string(st.st_ino);
    return "?" + fs::absolute(path).lexically_normal().string();
}

// A file found, and where: the given path it came from and the names that order it (the given
// folder's name and each level below it, or the file's own name when given by itself).
struct Found {
    std::string path;
    std::size_t given;
    std::vector<std::string> levels;
};

// Pre-order, entries in byte order, entering real folders only.
void walk(const std::string& folder, std::vector<Found>& out, const Found& at)
{
    std::vector<std::string> names;
    if (DIR* dir = opendir(folder.c_str())) {
        while (const dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..")
                names.push_back(name);
        }
        closedir(dir);
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        const std::string path = join(folder, name);
        Found here = at;
        here.path = path;
        here.levels.push_back(name);
        if (endsWithSd2(name) && !isSidecar(path))
            out.push_back(here);
        if (isRealFolder(path))
            walk(path, out, here);
    }
}

std::vector<Found> expectedInWalkOrder(const std::vector<std::string>& given, const std::set<std::string>& queued)
{
    std::vector<Found> found;
    for (std::size_t i = 0; i < given.size(); ++i) {
        const std::string& path = given[i];
        std::string bare = path;
        while (bare.size() > 1 && bare.back() == '/')
            bare.pop_back();
        struct stat st {};
        if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
            walk(path, found, {path, i, {baseName(bare)}});
        else if ((endsWithSd2(baseName(path)) || (isBareName(baseName(path)) && exists(path))) && !isSidecar(path))
            found.push_back({path, i, {baseName(path)}});
    }
    // One file is taken once, whatever its spelling, and not again when already queued.
    std::set<std::string> seen;
    for (const std::string& path : queued)
        seen.insert(identity(path));
    std::vector<Found> fresh;
    for (const Found& f : found)
        if (!queued.contains(f.path) && seen.insert(identity(f.path)).second)
            fresh.push_back(f);
    return fresh;
}

bool listedBefore(const Found& a, const Found& b, const QCollator& collator)
{
    const auto compare = [&](const std::string& x, const std::string& y) {
        return collator.compare(QString::fromLocal8Bit(x), QString::fromLocal8Bit(y));
    };
    if (const int first = compare(a.levels.front(), b.levels.front()); first != 0)
        return first < 0;
    if (a.given != b.given)
        return a.given < b.given;
    return std::lexicographical_compare(a.levels.begin() + 1, a.levels.end(), b.levels.begin() + 1, b.levels.end(),
                                        [&](const std::string& x, const std::string& y) { return compare(x, y) < 0; });
}

// No folder between the given path and the entry may be a symlink: those are not entered.
void checkNoSymlinkedFolderEntered(const std::string& path, const std::vector<std::string>& given)
{
    for (const std::string& g : given) {
        const std::string prefix = !g.empty() && g.back() == '/' ? g : g + "/";
        if (path.rfind(prefix, 0) != 0)
            continue;
        bool allReal = true;
        for (auto slash = path.find('/', prefix.size()); slash != std::string::npos; slash = path.find('/', slash + 1))
            allReal = allReal && isRealFolder(path.substr(0, slash));
        if (allReal)
            return;
    }
    // Not below a given folder through real folders only: it must be a given path itself.
    FUZZ_CHECK(std::find(given.begin(), given.end(), path) != given.end(), "'%s' was reached through a symlinked folder",
               printable(path).c_str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const fs::path tree = scratchRoot() / "tree";
    std::error_code ignored;
    fs::remove_all(tree, ignored);
    fs::create_directory(tree);

    const fuzz::IntakeCase input = fuzz::buildIntakeTree(tree.string(), bytes, size);

    PathList given;
    for (const std::string& path : input.given)
        given.emplace_back(path);
    const PathList result = collectSd2Paths(given, input.queued).paths;

    std::vector<std::string> got;
    for (const fs::path& path : result)
        got.push_back(path.string());

    std::vector<Found> placed = expectedInWalkOrder(input.given, input.queued);
    const QCollator collator = fileBrowserCollator();
    std::stable_sort(placed.begin(), placed.end(),
                     [&](const Found& a, const Found& b) { return listedBefore(a, b, collator); });
    std::vector<std::string> expected;
    for (const Found& f : placed)
        expected.push_back(f.path);

    for (const std::string& path : got) {
        const bool given = std::find(input.given.begin(), input.given.end(), path) != input.given.end();
        FUZZ_CHECK(endsWithSd2(baseName(path)) || given, "'%s' does not end in .sd2 and was not given",
                   printable(path).c_str());
        FUZZ_CHECK(!input.queued.contains(path), "'%s' was already queued", printable(path).c_str());
        checkNoSymlinkedFolderEntered(path, input.given);
        // The URL a file item keeps must lead back to the same bytes.
        const fs::path back = pathForUrl(urlForPath(path));
        FUZZ_CHECK(back == fs::absolute(path), "'%s' came back from its URL as '%s'", printable(path).c_str(),
                   printable(back.string()).c_str());
    }
    if (got != expected) {
        std::string text = "got:";
        for (const auto& p : got)
            text += "\n    " + printable(p);
        text += "\n  expected:";
        for (const auto& p : expected)
            text += "\n    " + printable(p);
        FUZZ_CHECK(got == expected, "%s", text.c_str());
    }

    fs::remove_all(tree, ignored);
    return 0;
}
