#include "model/intake.hpp"
#include "core/io/fileIdentity.hpp"
#include "core/metadata/sd2Candidate.hpp"

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
    bool sniffed = false;
};

// Pre-order walk, entries in byte order of their names so the result does not depend on
// the order the file system returns them in. Symlinked folders are listed but not entered,
// which also keeps symlink loops out. A folder that cannot be read (or not to the end)
// contributes what it can and is reported. Entry types come from the listing itself, so a
// folder whose path has grown too long to open is still recognised, and reported.
void walk(const fs::path& folder, std::vector<Found>& out, CollectedPaths& intake, const fs::path& root)
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
            out.push_back({entry.path(), root, candidacy == Candidacy::sniffed});
        intake.notAudio += candidacy == Candidacy::notAudio;
        std::error_code typeError;
        const bool symlink = entry.is_symlink(typeError);
        if (!typeError && !symlink && entry.is_directory(typeError))
            walk(entry.path(), out, intake, root);
        else if (typeError && candidacy == Candidacy::skipped)
            intake.skipped.push_back({entry.path(), typeError.message()});
    }
}

} // namespace

CollectedPaths collectSd2Paths(const PathList& given, const std::set<std::string>& queued)
{
    CollectedPaths intake;
    std::vector<Found> candidates;
    for (const fs::path& path : given) {
        std::error_code error;
        if (fs::is_directory(fs::status(path, error)))
            walk(path, candidates, intake, path);
        else if (sd2Candidacy(path, std::nullopt) == Candidacy::taken)
            candidates.push_back({path, std::nullopt});
        else if (error)
            intake.skipped.push_back({path, error.message()});
    }

    std::set<FileIdentity> seen;
    for (const std::string& path : queued)
        seen.insert(fileIdentity(path));
    PathList fresh;
    for (Found& found : candidates)
        if (!queued.contains(found.path.string()) && seen.insert(fileIdentity(found.path)).second) {
            if (found.root)
                intake.roots.emplace(found.path, *found.root);
            if (found.sniffed)
                intake.sniffed.insert(found.path);
            fresh.push_back(std::move(found.path));
        }

    // Names are compared as text; the bytes themselves travel untouched beside them.
    struct Named {
        QString name;
        fs::path path;
    };
    std::vector<Named> named;
    named.reserve(fresh.size());
    for (fs::path& path : fresh)
        named.push_back({QString::fromLocal8Bit(path.filename().string()), std::move(path)});

    const QCollator collator = fileBrowserCollator();
    std::stable_sort(named.begin(), named.end(),
                     [&](const Named& a, const Named& b) { return collator.compare(a.name, b.name) < 0; });

    intake.paths.reserve(named.size());
    for (Named& n : named)
        intake.paths.push_back(std::move(n.path));
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
