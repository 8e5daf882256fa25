// Takes screenshots of the Quorvel window in its main states, for a person to look at:
//   quorvel-screenshots OUTPUT_FOLDER
// Run it under a display (xvfb-run, 1920×1080 for the default size); QT_QUICK_BACKEND=software
// shows the software renderer.
#include "core/formats/encodeSample.hpp"
#include "model/ConverterModel.hpp"
#include "ui/AppSettings.hpp"
#include "ui/window.hpp"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
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

// Twelve seconds of plucked notes, a new one every 0.3 s, each ringing down; in stereo the
// right channel plays a fifth above. Music enough for the rows' pictures.
void writeTake(const QString& path, quorvel::SourceFormat format, int channels, double hz, unsigned seed)
{
    QByteArray bytes;
    const int bps = format.bytesPerSample();
    const double full = bps == 2 ? 20000 : 5000000;
    std::mt19937 random(seed);
    double pitch = hz, loudness = 1;
    for (int i = 0; i < 44100 * 12; ++i) {
        const double t = (i % 13230) / 44100.0;
        if (i % 13230 == 0) {
            pitch = hz * std::pow(2.0, static_cast<double>(random() % 8) / 12);
            loudness = 0.3 + static_cast<double>(random() % 70) / 100;
        }
        for (int c = 0; c < channels; ++c) {
            const double v = loudness * std::exp(-t * 9) * std::sin(2 * std::numbers::pi * pitch * (c ? 1.5 : 1) * t);
            std::uint8_t sample[4]; // room for the widest encoding
            quorvel::encodeSample(static_cast<std::int32_t>(full * v), format, sample);
            bytes.append(reinterpret_cast<const char*>(sample), bps);
        }
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

// The visible items under `root` named `name`, depth first through the visual tree.
QList<QQuickItem*> named(QQuickItem* root, const QString& name)
{
    QList<QQuickItem*> found;
    for (QQuickItem* child : root->childItems()) {
        if (child->objectName() == name && child->isVisible())
            found << child;
        found << named(child, name);
    }
    return found;
}

QPoint centreOf(QQuickItem* item) { return item->mapToScene(item->boundingRect().center()).toPoint(); }

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
    QQuickItem* root = window->contentItem();

    const QString backend = QQuickWindow::sceneGraphBackend().isEmpty() ? "opengl" : QQuickWindow::sceneGraphBackend();
    const auto save = [&](const QString& name, const QImage& image) {
        const QString path = out.filePath(QStringLiteral("%1-%2.png").arg(name, backend));
        image.save(path);
        qInfo("%s", qPrintable(path));
    };
    const auto shot = [&](const QString& name) { save(name, window->grabWindow()); };
    // The first five rows only, for the pictures of their readings.
    const auto rows = [&](const QString& name) {
        const QList<QQuickItem*> waves = named(root, "waveform");
        QRectF area;
        for (QQuickItem* wave : waves.mid(0, 5))
            area |= wave->parentItem()->parentItem()->parentItem()->mapRectToScene(wave->parentItem()->parentItem()->parentItem()->boundingRect());
        save(name, window->grabWindow().copy(area.adjusted(-8, -8, 8, 8).toRect()));
    };
    // Through the window system, as a real key press comes, so shortcuts see it.
    const auto press = [&](Qt::Key key) { QTest::keyClick(window, key); };
    const auto hover = [&](const QString& name, int which) { QTest::mouseMove(window, centreOf(named(root, name).value(which))); };
    const auto list = [&] { return named(root, "fileList").value(0); };

    // A dropped archive: loose takes, and two sessions that each hold a Vox_07.sd2.
    const QDir takes(work.filePath("Archive"));
    for (const auto& [session, seed] : {std::pair{"PT Session 2/Audio Files", 7u}, {"PT Session 10/Audio Files", 8u}}) {
        takes.mkpath(session);
        writeTake(takes.filePath(QStringLiteral("%1/Vox_07.sd2").arg(session)), quorvel::SourceFormat::s16be, 2, 294, seed);
    }
    writeTake(takes.filePath("Kick 01.sd2"), quorvel::SourceFormat::s16be, 2, 110, 1);
    writeTake(takes.filePath("Strings take 2.sd2"), quorvel::SourceFormat::s24le, 1, 330, 2);
    writeTake(takes.filePath("Strings take 10.sd2"), quorvel::SourceFormat::s16le, 2, 440, 3);
    writeTake(takes.filePath("Gtr.L.sd2"), quorvel::SourceFormat::s16be, 1, 196, 4);
    writeTake(takes.filePath("Gtr.R.sd2"), quorvel::SourceFormat::s16be, 1, 247, 5);
    writeTake(takes.filePath("Piano room mic, second pass after the break (keep).sd2"), quorvel::SourceFormat::s16be, 2, 262, 6);
    for (int i = 1; i <= 8; ++i)
        writeTake(takes.filePath(QStringLiteral("Vox %1.sd2").arg(i)), quorvel::SourceFormat::s24be, 1, 220 + 20 * i, 10 + i);
    {
        // A file that reads as static in every encoding, to show a failed row.
        QFile noise(takes.filePath("Room noise.sd2"));
        noise.open(QIODevice::WriteOnly);
        std::mt19937 random(1);
        for (int i = 0; i < 100000; ++i)
            noise.putChar(static_cast<char>(random()));
    }

    window->requestActivate(); // shortcuts go to the active window; there is no window manager here
    const QSize startSize = window->size();
    sequence({
        {1500, [&] { shot("1-first-launch"); }},
        {0, [&] { press(Qt::Key_Return); }},
        {600, [&] { shot("2-at-rest"); }},
        {0, [&] { model.addURLs({QUrl::fromLocalFile(takes.path())}); }},
        {2500, [&] { shot("3-queue"); }},
        {0, [&] { rows("4-readings-right"); }},
        {0, [&] { model.setShowAdvanced(true); }},
        {300, [&] { QMetaObject::invokeMethod(named(root, "sourceFormatSelect").value(0), "open"); }},
        {500, [&] { shot("5-source-format-menu"); }},
        {0, [&] { press(Qt::Key_Escape); model.setShowAdvanced(false); }},
        // A wrong reading for every file: each row's picture turns to noise.
        {0, [&] { model.setProperty("sourceFormatChoice", "s16le"); model.redetectAll(); }},
        {2000, [&] { rows("6-readings-wrong"); }},
        {0, [&] { model.setProperty("sourceFormatChoice", "auto"); model.redetectAll(); }},
        {1500, [&] { hover("play", 0); }},
        {1200, [&] { shot("7-row-tooltip"); }},
        {0, [&] { window->resize(window->minimumSize()); }},
        {800, [&] { shot("8-minimum-size"); }},
        {0, [&] { hover("status", 0); }},
        {1200, [&] { shot("9-status-tooltip"); }},
        {0, [&] { window->resize(startSize); QTest::mouseMove(window, {5, 5}); }},
        {600, [&] { press(Qt::Key_Return); }},
        {1700, [&] { shot("10-running"); }},
        // Closing while it runs asks first; Return keeps bouncing.
        {0, [&] { window->close(); }},
        {500, [&] { shot("11-stop-asked"); }},
        {0, [&] { press(Qt::Key_Return); }},
        // The run's end: the list, scrolled away meanwhile, brings the failed file into view.
        {0, [&] { QMetaObject::invokeMethod(list(), "positionViewAtEnd"); }},
        {7000, [&] { shot("12-summary"); }},
        {2400, [&] { shot("13-after-failures"); }},
    });
    return app.exec();
}
