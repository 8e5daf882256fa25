#include "model/intake.hpp"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quorvel;

namespace {

class Intake : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return dir.filePath(relative); }

    QString touch(const QString& relative) const
    {
        const QString full = path(relative);
        QDir().mkpath(QFileInfo(full).path());
        QFile file(full);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << full.toStdString();
        return full;
    }

    QStringList names(const QStringList& paths) const
    {
        QStringList out;
        for (const QString& p : paths)
            out.append(QDir(dir.path()).relativeFilePath(p));
        return out;
    }

    QTemporaryDir dir;
};

} // namespace

TEST_F(Intake, OrdersByNameAsAFileBrowserDoes)
{
    const QStringList given{touch("Take 10.sd2"), touch("take 2.SD2"), touch("Take 1.sd2")};
    EXPECT_EQ(names(collectSd2Paths(given, {})), (QStringList{"Take 1.sd2", "take 2.SD2", "Take 10.sd2"}));
}

TEST_F(Intake, WalksFoldersDeeplyIncludingHiddenEntries)
{
    touch("drop/b/x.sd2");
    touch("drop/a/x.sd2");
    touch("drop/.hidden.sd2");
    touch("drop/.cache/deep/y.Sd2");
    touch("drop/notes.txt");
    touch("drop/mix.wav");
    QDir().mkpath(path("drop/folder.sd2/inner")); // a folder named like a file is a candidate too
    touch("drop/folder.sd2/inner/z.sd2");

    const QStringList found = names(collectSd2Paths({path("drop")}, {}));
    // The two x.sd2 keep the order in which the walk met them.
    EXPECT_EQ(found, (QStringList{"drop/.hidden.sd2", "drop/folder.sd2", "drop/a/x.sd2", "drop/b/x.sd2",
                                  "drop/.cache/deep/y.Sd2", "drop/folder.sd2/inner/z.sd2"}));
}

TEST_F(Intake, LeavesOutQueuedPathsButNotRepeatsWithinOneCall)
{
    const QString take = touch("set/take.sd2");
    EXPECT_TRUE(collectSd2Paths({take}, {take}).isEmpty());
    EXPECT_EQ(collectSd2Paths({take, path("set")}, {}), (QStringList{take, take}));
    EXPECT_TRUE(collectSd2Paths({touch("mix.wav"), path("empty-folder")}, {}).isEmpty());
}

TEST_F(Intake, KeepsMissingFilesAndSurvivesSymlinkLoops)
{
    EXPECT_EQ(collectSd2Paths({path("gone.sd2")}, {}), QStringList{path("gone.sd2")});

    touch("loop/real.sd2");
    ASSERT_TRUE(QFile::link(path("loop"), path("loop/again")));
    ASSERT_TRUE(QFile::link(path("nowhere.sd2"), path("loop/dangling.sd2")));
    EXPECT_EQ(names(collectSd2Paths({path("loop")}, {})), (QStringList{"loop/dangling.sd2", "loop/real.sd2"}));
}
