#include "model/intake.hpp"
#include "core/io/fileIdentity.hpp"

#include <QCollator>
#include <QLocale>
#include <QString>

#include <algorithm>

namespace quorvel {

namespace fs = std::filesystem;

namespace {

bool hasSd2Extension(const fs::path& path)
{
    const std::string name = path.filename().string();
    const auto dot = name.rfind('.');
    if (dot == std::string::npos || name.size() - dot != 4)
        return false;
    std::string extension = name.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == "sd2";
}

// Pre-order walk, entries in byte order of their names so the result does not depend on
// the order the file system returns them in. Symlinked folders are listed but not entered,
// which also keeps symlink loops out. A folder that cannot be read (or not to the end)
// contributes what it can and is reported. Entry types come from the listing itself, so a
// folder whose path has grown too long to open is still recognised, and reported.
void walk(const fs::path& folder, PathList& out, std::vector<SkippedPath>& skipped)
{
    std::error_code error;
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        entries.push_back(*it);
    if (error)
        skipped.push_back({folder, error.message()});
    std::sort(entries.begin(), entries.end());
    for (const fs::directory_entry& entry : entries) {
        if (hasSd2Extension(entry.path()))
            out.push_back(entry.path());
        std::error_code typeError;
        const bool symlink = entry.is_symlink(typeError);
        if (!typeError && !symlink && entry.is_directory(typeError))
            walk(entry.path(), out, skipped);
        else if (typeError && !hasSd2Extension(entry.path()))
            skipped.push_back({entry.path(), typeError.message()});
    }
}

} // namespace

CollectedPaths collectSd2Paths(const PathList& given, const std::set<std::string>& queued)
{
    CollectedPaths intake;
    PathList candidates;
    for (const fs::path& path : given) {
        std::error_code error;
        if (fs::is_directory(fs::status(path, error)))
            walk(path, candidates, intake.skipped);
        else if (hasSd2Extension(path))
            candidates.push_back(path);
        else if (error)
            intake.skipped.push_back({path, error.message()});
    }

    std::set<FileIdentity> seen;
    for (const std::string& path : queued)
        seen.insert(fileIdentity(path));
    PathList fresh;
    for (fs::path& path : candidates)
        if (!queued.contains(path.string()) && seen.insert(fileIdentity(path)).second)
            fresh.push_back(std::move(path));

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
