// The window at scale: queues N small .sd2 files (in folders of 1,000), detects and bounces
// them all through the real window, and reports the peak memory and the longest time the
// main thread was busy. The batch run starts as soon as the files are queued, with its
// pauses skipped, so the window sees changes as fast as the worker can make them.
//   bench_queue N        (under a display: xvfb-run; bench/queue_scale.sh runs it)
#include "core/formats/encodeSample.hpp"
#include "model/ConverterModel.hpp"
#include "ui/AppSettings.hpp"
#include "ui/window.hpp"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <numbers>

Q_IMPORT_QML_PLUGIN(QuorvelPlugin)

namespace {

// 1,000 stereo frames of s16be: a decaying tone, a little different in every file.
void writeFiles(const QString& root, int count)
{
    for (int i = 0; i < count; ++i) {
        const QString folder = QStringLiteral("%1/Session %2").arg(root).arg(i / 1000 + 1, 3, 10, QLatin1Char('0'));
        if (i % 1000 == 0)
            std::filesystem::create_directories(folder.toStdString());
        std::vector<std::uint8_t> bytes(4000);
        for (int f = 0; f < 1000; ++f)
            for (int c = 0; c < 2; ++c) {
                const double v = std::exp(-f / 400.0) * std::sin(2 * std::numbers::pi * (100 + i % 700) * (c + 1) * f / 44100.0);
                quorvel::encodeSample(static_cast<std::int32_t>(12000 * v), quorvel::SourceFormat::s16be, &bytes[(f * 2 + c) * 2]);
            }
        std::ofstream(QStringLiteral("%1/Take %2.sd2").arg(folder).arg(i + 1).toStdString(), std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
}

// A timer that wants to run every 5 ms: the longest gap between two of its ticks (less the
// 5 ms) is the longest the event loop did not get round to it, and the main thread's own
// CPU time over that gap is how much of it the thread spent working rather than waiting
// for a core (on a loaded machine) or for the render thread.
class StallProbe : public QObject {
public:
    StallProbe()
    {
        clock_.start();
        timer_.setTimerType(Qt::PreciseTimer);
        connect(&timer_, &QTimer::timeout, this, [this] {
            const qint64 now = clock_.elapsed(), cpu = threadMilliseconds();
            const qint64 gap = now - last_ - kInterval, busy = cpu - lastCpu_;
            if (gap >= 250)
                std::printf("  %lld ms without the event loop (%lld ms of it busy), ending at %.1f s\n",
                            static_cast<long long>(gap), static_cast<long long>(busy), now / 1000.0);
            worst_ = std::max(worst_, gap);
            worstBusy_ = std::max(worstBusy_, busy);
            last_ = now;
            lastCpu_ = cpu;
        });
        timer_.start(kInterval);
    }
    qint64 worst() const { return worst_; }
    qint64 worstBusy() const { return worstBusy_; }
    qint64 elapsed() const { return clock_.elapsed(); }

private:
    static qint64 threadMilliseconds()
    {
        timespec t{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return t.tv_sec * 1000 + t.tv_nsec / 1000000;
    }
    static constexpr qint64 kInterval = 5;
    QElapsedTimer clock_;
    QTimer timer_;
    qint64 last_ = 0, lastCpu_ = threadMilliseconds(), worst_ = 0, worstBusy_ = 0;
};

long peakKilobytes()
{
    QFile status("/proc/self/status");
    status.open(QIODevice::ReadOnly);
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    return -1;
}

} // namespace

int main(int argc, char* argv[])
{
    QGuiApplication app(argc, argv);
    const int count = argc > 1 ? std::atoi(argv[1]) : 5000;
    QTemporaryDir work, config;
    qputenv("XDG_CONFIG_HOME", config.path().toLocal8Bit());
    QSettings(QSettings::NativeFormat, QSettings::UserScope, "Quorvel", "Quorvel").setValue(quorvel::AppSettings::warnKey, true);
    QGuiApplication::setOrganizationName("Quorvel");
    QGuiApplication::setApplicationName("Quorvel");
    writeFiles(work.path(), count);
    std::printf("%d files written\n", count);
    std::fflush(stdout);

    quorvel::ModelServices services = quorvel::ModelServices::system();
    services.pause = [](double) {};
    quorvel::ConverterModel model(services);
    quorvel::AppSettings settings;
    QQmlApplicationEngine engine;
    QQuickWindow* window = quorvel::openWindow(engine, model, settings);
    if (!window)
        return 1;
    // Measured from the window's first frame on: its start-up is not what this is about.
    QEventLoop shown;
    QObject::connect(window, &QQuickWindow::frameSwapped, &shown, &QEventLoop::quit);
    shown.exec();

    StallProbe probe;
    qint64 queuedAt = -1, detectedAt = -1, firstBouncedAt = -1;
    model.addURLs({QUrl::fromLocalFile(work.path())});
    QObject::connect(&model, &quorvel::ConverterModel::takingInChanged, [&] {
        if (model.takingIn())
            return;
        queuedAt = probe.elapsed();
        model.convertAll(); // at once, while the files are still being detected
    });
    QTimer progress;
    QObject::connect(&progress, &QTimer::timeout, [&] {
        const auto& queue = model.queue();
        const auto detected = std::count_if(queue.begin(), queue.end(), [](const auto& i) { return i->confidence() != "…"; });
        if (detectedAt < 0 && queuedAt >= 0 && detected == static_cast<long>(queue.size()))
            detectedAt = probe.elapsed();
        if (firstBouncedAt < 0 && model.items()->completedCount() > 0)
            firstBouncedAt = probe.elapsed();
        if (queuedAt >= 0 && detectedAt >= 0 && !model.isConverting())
            QGuiApplication::quit();
    });
    progress.start(250);
    app.exec();

    std::printf("queued %zu rows in %.1f s, all detected after %.1f s, first bounced after %.1f s, "
                "%d bounced after %.1f s\n",
                model.queue().size(), queuedAt / 1000.0, detectedAt / 1000.0, firstBouncedAt / 1000.0,
                model.items()->completedCount(), probe.elapsed() / 1000.0);
    std::printf("longest main-thread stall: %lld ms, of which busy: at most %lld ms\npeak memory (VmHWM): %.0f MB\n",
                static_cast<long long>(probe.worst()), static_cast<long long>(probe.worstBusy()), peakKilobytes() / 1024.0);
    return 0;
}
