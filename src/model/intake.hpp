#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

namespace quorvel {

// Finds the .sd2 files among the given paths, the way a drop or an open-with hands them
// in: folders are walked deeply (hidden entries included, symlinked folders not entered),
// ".sd2" matches in any letter case, paths already queued are left out, and the new paths
// are ordered by file name as a file browser lists them (stable, so equal names keep the
// order in which they were met). A given path that does not exist is kept: reading it
// later reports it.
QStringList collectSd2Paths(const QStringList& given, const QSet<QString>& queued);

} // namespace quorvel
