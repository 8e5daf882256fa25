#include "model/intake.hpp"
#include "core/metadata/sd2Candidate.hpp"

#include <QCollator>
#include <QLocale>
#include <QString>

#include <algorithm>

namespace quorvel {

namespace fs = std::filesystem;

namespace {

// Pre-order walk, entries in byte order of their names so the result does not depend on
// the order the file system returns them in. Symlinked folders are listed but not entered,
// which also keeps symlink loops out; folders that cannot be read contribute what they can.
void walk(const fs::path& folder, PathList& out)
{
    std::error_code error;
    std::vector<fs::path> entries;
    for (fs::directory_iterator it(folder, fs::directory_options::skip_permission_denied, error), end;
         !error && it != end; it.increment(error))
        entries.push_back(it->path());
    std::sort(entries.begin(), entries.end());
    for (const fs::path& entry : entries) {
        if (isSd2Candidate(entry))
            out.push_back(entry);
        if (fs::is_directory(fs::symlink_status(entry, error)))
            walk(entry, out);
    }
}

} // namespace

PathList collectSd2Paths(const PathList& given, const std::set<std::string>& queued)
{
    PathList candidates;
    for (const fs::path& path : given) {
        std::error_code error;
        if (fs::is_directory(path, error))
            walk(path, candidates);
        else if (isSd2Candidate(path))
            candidates.push_back(path);
    }
    std::erase_if(candidates, [&](const fs::path& path) { return queued.contains(path.string()); });

    // Names are compared as text; the bytes themselves travel untouched beside them.
    struct Named {
        QString name;
        fs::path path;
    };
    std::vector<Named> named;
    named.reserve(candidates.size());
    for (fs::path& path : candidates)
        named.push_back({QString::fromLocal8Bit(path.filename().string()), std::move(path)});

    const QCollator collator = fileBrowserCollator();
    std::stable_sort(named.begin(), named.end(),
                     [&](const Named& a, const Named& b) { return collator.compare(a.name, b.name) < 0; });

    PathList sorted;
    sorted.reserve(named.size());
    for (Named& n : named)
        sorted.push_back(std::move(n.path));
    return sorted;
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
