// The single-instance hand-over: through a folder only the user can enter, and only between
// two ends of the same user. The test plays the other socket owner, its user id injected.
#include "app/SingleInstance.hpp"

#include <QTemporaryDir>
#include <QTest>

#include <filesystem>
#include <future>
#include <sys/stat.h>

using namespace quorvel;
namespace fs = std::filesystem;

class SingleInstanceTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    const UserId me = currentUser();
    const std::string socket = (fs::path(dir.path().toStdString()) / "hand-over").string();

private slots:
    void socketOnlyInAFolderOfTheUsersOwn()
    {
        const fs::path runtime = dir.path().toStdString() + "/runtime", tmp = dir.path().toStdString() + "/tmp";
        const std::string name = "quorvel-" + std::to_string(me);
        fs::create_directories(runtime);
        fs::create_directories(tmp);
        ::chmod(runtime.c_str(), 0700);
        qputenv("TMPDIR", QByteArray::fromStdString(tmp.string()));
        qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(runtime.string()));
        QCOMPARE(handOverSocketPath(me), (runtime / name).string());

        // A runtime folder others can enter: a folder of the user's own, made private.
        ::chmod(runtime.c_str(), 0755);
        QCOMPARE(handOverSocketPath(me), (tmp / name / name).string());
        QCOMPARE(fs::status(tmp / name).permissions(), fs::perms::owner_all);
        qunsetenv("XDG_RUNTIME_DIR");
        QCOMPARE(handOverSocketPath(me), (tmp / name / name).string());

        // Not the user's, not private or a link: no hand-over at all.
        QCOMPARE(handOverSocketPath(me + 1), std::nullopt);
        ::chmod((tmp / name).c_str(), 0755);
        QCOMPARE(handOverSocketPath(me), std::nullopt);
        fs::remove(tmp / name);
        fs::create_symlink(runtime, tmp / name);
        ::chmod(runtime.c_str(), 0700);
        QCOMPARE(handOverSocketPath(me), std::nullopt);
    }

    // Paths go from a later launch to the running one of the same user. A running end that
    // is someone else's gets nothing and the launch opens a window of its own; a stranger's
    // connection is closed unread. handOver waits for the running end, so it runs beside
    // this thread's event loop.
    void handsOverOnlyBetweenLaunchesOfOneUser()
    {
        const QStringList paths{"/takes/a b.sd2", "/takes/Mix 3"};
        for (const auto& [runningUser, laterUser] : {std::pair{me, me}, {me, me + 1}, {me + 1, me}}) {
            SingleInstance running(socket, runningUser);
            QStringList received;
            running.listen([&](const QStringList& got) { received = got; });
            const SingleInstance later(socket, laterUser);
            std::future<bool> handed = std::async(std::launch::async, [&] { return later.handOver(paths); });
            QTRY_VERIFY(handed.wait_for(std::chrono::seconds(0)) == std::future_status::ready);
            QCOMPARE(received, runningUser == laterUser ? paths : QStringList());
            if (laterUser != me)
                QVERIFY(!handed.get());
        }
    }
};

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "singleInstanceTest.moc"
