#include "model/intake.hpp"
#include "core/io/fileIdentity.hpp"
#include "core/metadata/sd2Candidate.hpp"
#include "core/pipeline/keptTree.hpp"

#include <QCollator>
#include <QLocale>
#include <QString>

#include <algorithm>

namespace quorvel {

namespace fs = std::filesystem;

namespace {

struct Found {
    fs::path path;
    std::optional<fs::path> root;
    bool sniffed;
    std::size_t given; // which of the given paths it came from
};

// A file's place in the queue. The given paths are ordered as if they lay side by side in
// one folder: a loose file by its name, a folder's files under the folder's name, then by
// their path below it, level by level, in file-browser order. Folders of one name (and a
// file named like one) keep the order they were given in, so their files never interleave.
struct Place {
    std::vector<QCollatorSortKey> levels;
    std::size_t given;
};

bool before(const Place& a, const Place& b)
{
    if (const int first = a.levels.front().compare(b.levels.front()); first != 0)
        return first < 0;
    if (a.given != b.given)
        return a.given < b.given;
    const auto less = [](const QCollatorSortKey& x, const QCollatorSortKey& y) { return x.compare(y) < 0; };
    return std::lexicographical_compare(a.levels.begin() + 1, a.levels.end(), b.levels.begin() + 1, b.levels.end(), less);
}

Place placeOf(const Found& found, const QCollator& collator)
{
    std::vector<QCollatorSortKey> levels;
    const auto add = [&](const fs::path& name) {
        levels.push_back(collator.sortKey(QString::fromLocal8Bit(name.string())));
    };
    if (found.root)
        add(folderName(*found.root));
    for (const fs::path& name : pathBelowRoot(found.path, found.root))
        add(name);
    return {std::move(levels), found.given};
}

// Pre-order walk, entries in byte order of their names so the result does not depend on
// the order the file system returns them in. Symlinked folders are listed but not entered,
// which also keeps symlink loops out. A folder that cannot be read (or not to the end)
// contributes what it can and is reported. Entry types come from the listing itself, so a
// folder whose path has grown too long to open is still recognised, and reported.
void walk(const fs::path& folder, std::vector<Found>& out, CollectedPaths& intake, const fs::path& root,
          std::size_t given)
{
    std::error_code error;
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        entries.push_back(*it);
    if (error)
        intake.skipped.push_back({folder, error.message()});
    std::sort(entries.begin(), entries.end());
    for (const fs::directory_entry& entry : entries) {
        const Candidacy candidacy = sd2Candidacy(entry.path(), root);
        if (candidacy == Candidacy::taken || candidacy == Candidacy::sniffed)
            out.push_back({entry.path(), root, candidacy == Candidacy::sniffed, given});
        intake.notAudio += candidacy == Candidacy::notAudio;
        std::error_code typeError;
        const bool symlink = entry.is_symlink(typeError);
        if (!typeError && !symlink && entry.is_directory(typeError))
            walk(entry.path(), out, intake, root, given);
        else if (typeError && candidacy == Candidacy::skipped)
            intake.skipped.push_back({entry.path(), typeError.message()});
    }
}

} // namespace

CollectedPaths collectSd2Paths(const PathList& given, const std::set<std::string>& queued)
{
    CollectedPaths intake;
    std::vector<Found> candidates;
    for (std::size_t i = 0; i < given.size(); ++i) {
        const fs::path& path = given[i];
        std::error_code error;
        if (fs::is_directory(fs::status(path, error)))
            walk(path, candidates, intake, path, i);
        else if (sd2Candidacy(path, std::nullopt) == Candidacy::taken)
            candidates.push_back({path, std::nullopt, false, i});
        else if (error)
            intake.skipped.push_back({path, error.message()});
    }

    std::set<FileIdentity> seen;
    for (const std::string& path : queued)
        seen.insert(fileIdentity(path));
    // Names are compared as text; the bytes themselves travel untouched beside them.
    const QCollator collator = fileBrowserCollator();
    struct Placed {
        Place place;
        Found found;
    };
    std::vector<Placed> fresh;
    for (Found& found : candidates)
        if (!queued.contains(found.path.string()) && seen.insert(fileIdentity(found.path)).second)
            fresh.push_back({placeOf(found, collator), std::move(found)});
    std::stable_sort(fresh.begin(), fresh.end(),
                     [](const Placed& a, const Placed& b) { return before(a.place, b.place); });

    intake.paths.reserve(fresh.size());
    for (Placed& p : fresh) {
        if (p.found.root)
            intake.roots.emplace(p.found.path, *p.found.root);
        if (p.found.sniffed)
            intake.sniffed.insert(p.found.path);
        intake.paths.push_back(std::move(p.found.path));
    }
    return intake;
}

std::optional<fs::path> CollectedPaths::rootOf(const fs::path& path) const
{
    const auto found = roots.find(path);
    return found == roots.end() ? std::nullopt : std::optional<fs::path>(found->second);
}

std::vector<QueuedSource> queuedSources(const CollectedPaths& intake, bool joinPairs)
{
    std::vector<QueuedSource> sources;
    if (joinPairs)
        sources = joinSplitStereo(intake.paths);
    else
        for (const fs::path& path : intake.paths)
            sources.push_back({path, std::nullopt});
    for (QueuedSource& source : sources) {
        source.root = intake.rootOf(source.path);
        source.sniffed = intake.sniffed.contains(source.path);
    }
    return sources;
}

// An unset (C) locale would compare code points and put "take 10" before "take 2",
// so it falls back to English.
QCollator fileBrowserCollator()
{
    QLocale locale;
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

QUrl urlForPath(const fs::path& path)
{
    const QByteArray bytes = QByteArray::fromStdString(fs::absolute(path).string());
    return QUrl::fromEncoded("file://" + bytes.toPercentEncoding("/"));
}

fs::path pathForUrl(const QUrl& url)
{
    return fs::path(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()).toStdString());
}

} // namespace quorvel
