// Takes screenshots of the Quorvel window in its main states, for a person to look at:
//   quorvel-screenshots OUTPUT_FOLDER
// Run it under a display (xvfb-run); QT_QUICK_BACKEND=software shows the software renderer.
#include "core/formats/encodeSample.hpp"
#include "model/ConverterModel.hpp"
#include "ui/AppSettings.hpp"
#include "ui/window.hpp"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <random>

Q_IMPORT_QML_PLUGIN(QuorvelPlugin)

namespace {

void writeTake(const QString& path, quorvel::SourceFormat format, int channels, double hz)
{
    QByteArray bytes;
    const int bps = format.bytesPerSample();
    const double full = bps == 2 ? 12000 : 3000000;
    for (int i = 0; i < 44100 * 2; ++i)
        for (int c = 0; c < channels; ++c) {
            std::uint8_t sample[4]; // room for the widest encoding
            const double t = i / 44100.0;
            quorvel::encodeSample(static_cast<std::int32_t>(full * std::sin(2 * std::numbers::pi * hz * (c + 1) * t)),
                                  format, sample);
            bytes.append(reinterpret_cast<const char*>(sample), bps);
        }
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(bytes);
}

// Runs the steps one after another, each after `delay` ms of the event loop.
void sequence(std::vector<std::pair<int, std::function<void()>>> steps)
{
    if (steps.empty())
        return QGuiApplication::quit();
    auto [delay, step] = steps.front();
    steps.erase(steps.begin());
    QTimer::singleShot(delay, [step, rest = std::move(steps)]() mutable {
        step();
        sequence(std::move(rest));
    });
}

} // namespace

int main(int argc, char* argv[])
{
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        qWarning("usage: quorvel-screenshots OUTPUT_FOLDER");
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    QDir().mkpath(out.path());
    QTemporaryDir work, config;
    qputenv("XDG_CONFIG_HOME", config.path().toLocal8Bit()); // a first launch: the warning shows
    QGuiApplication::setOrganizationName("Quorvel");
    QGuiApplication::setApplicationName("Quorvel");
    quorvel::ConverterModel& model = quorvel::ConverterModel::shared();
    quorvel::AppSettings settings;
    QQmlApplicationEngine engine;
    QQuickWindow* window = quorvel::openWindow(engine, model, settings);
    if (!window)
        return 1;

    const QString backend = QQuickWindow::sceneGraphBackend().isEmpty() ? "opengl" : QQuickWindow::sceneGraphBackend();
    const auto shot = [&](const QString& name) {
        const QString path = out.filePath(QStringLiteral("%1-%2.png").arg(name, backend));
        window->grabWindow().save(path);
        qInfo("%s", qPrintable(path));
    };
    // Through the window system, as a real key press comes, so shortcuts see it.
    const auto press = [&](Qt::Key key) { QTest::keyClick(window, key); };

    // A dropped archive: loose takes, and two sessions that each hold a Vox_07.sd2.
    const QDir takes(work.filePath("Archive"));
    for (const char* session : {"PT Session 2/Audio Files", "PT Session 10/Audio Files"}) {
        takes.mkpath(session);
        writeTake(takes.filePath(QStringLiteral("%1/Vox_07.sd2").arg(session)), quorvel::SourceFormat::s16be, 2, 294);
    }
    writeTake(takes.filePath("Kick 01.sd2"), quorvel::SourceFormat::s16be, 2, 220);
    writeTake(takes.filePath("Strings take 2.sd2"), quorvel::SourceFormat::s24le, 1, 330);
    writeTake(takes.filePath("Strings take 10.sd2"), quorvel::SourceFormat::s16le, 2, 440);
    writeTake(takes.filePath("Gtr.L.sd2"), quorvel::SourceFormat::s16be, 1, 196);
    writeTake(takes.filePath("Gtr.R.sd2"), quorvel::SourceFormat::s16be, 1, 247);
    {
        // A file that reads as static in every encoding, to show a failed row.
        QFile noise(takes.filePath("noise.sd2"));
        noise.open(QIODevice::WriteOnly);
        std::mt19937 random(1);
        for (int i = 0; i < 100000; ++i)
            noise.putChar(static_cast<char>(random()));
    }

    window->requestActivate(); // shortcuts go to the active window; there is no window manager here
    sequence({
        {1500, [&] { shot("1-first-launch"); }},
        {0, [&] { press(Qt::Key_Return); }},
        {600, [&] { shot("2-at-rest"); }},
        {0, [&] {
             model.addURLs({QUrl::fromLocalFile(takes.path())});
             model.setShowAdvanced(true);
             window->resize(window->width(), 1500); // every row on show
         }},
        {1500, [&] { shot("3-queue"); }},
        {0, [&] { model.setShowAdvanced(false); press(Qt::Key_Return); }},
        {1700, [&] { shot("4-running"); }},
        {3000, [&] { shot("5-summary"); }},
        {3500, [&] { shot("6-after"); }},
    });
    return app.exec();
}
