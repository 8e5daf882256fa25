#include "model/intake.hpp"

#include <QCollator>
#include <QDir>
#include <QFileInfo>
#include <QLocale>

#include <algorithm>
#include <vector>

namespace quorvel {

namespace {

bool hasSd2Extension(const QString& path)
{
    return QFileInfo(path).suffix().compare(QLatin1String("sd2"), Qt::CaseInsensitive) == 0;
}

// Pre-order walk, entries in name order so the result does not depend on the order the
// file system happens to return them in. Symlinked folders are listed but not entered,
// which also keeps symlink loops out.
void walk(const QString& folder, QStringList& out)
{
    const QDir dir(folder);
    const QFileInfoList entries = dir.entryInfoList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& entry : entries) {
        const QString path = dir.filePath(entry.fileName());
        if (hasSd2Extension(path))
            out.append(path);
        if (entry.isDir() && !entry.isSymLink())
            walk(path, out);
    }
}

// The user's collation with numbers compared by value. An unset (C) locale would
// compare code points and put "take 10" before "take 2", so it falls back to English.
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

} // namespace

QStringList collectSd2Paths(const QStringList& given, const QSet<QString>& queued)
{
    QStringList candidates;
    for (const QString& path : given) {
        const QFileInfo info(path);
        if (info.isDir())
            walk(path, candidates);
        else if (hasSd2Extension(path))
            candidates.append(path);
    }

    candidates.removeIf([&](const QString& path) { return queued.contains(path); });

    struct Named {
        QString name, path;
    };
    std::vector<Named> named;
    named.reserve(candidates.size());
    for (const QString& path : candidates)
        named.push_back({QFileInfo(path).fileName(), path});

    const QCollator collator = fileBrowserCollator();
    std::stable_sort(named.begin(), named.end(),
                     [&](const Named& a, const Named& b) { return collator.compare(a.name, b.name) < 0; });

    QStringList sorted;
    sorted.reserve(named.size());
    for (const Named& n : named)
        sorted.append(n.path);
    return sorted;
}

} // namespace quorvel
