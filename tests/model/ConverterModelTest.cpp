#include "model/ConverterModel.hpp"
#include "support/files.hpp"
#include "support/patience.hpp"
#include "support/forks.hpp"
#include "support/signals.hpp"
#include "support/wav.hpp"

#include <QAbstractItemModelTester>
#include <QAudioDevice>
#include <QMediaDevices>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <clocale>
#include <numeric>
#include <mutex>
#include <new>

using namespace quorvel;

namespace {

// Pauses recorded instead of slept, so a 13-file run takes milliseconds.
struct Pacer {
    std::mutex mutex;
    std::vector<double> pauses;
    void operator()(double seconds)
    {
        const std::lock_guard lock(mutex);
        pauses.push_back(seconds);
    }
};

struct FakePlayer : PreviewPlayer {
    void play() override {}
    void stop() override {}
};

// Every published change of the model and its items, in the order the views saw them.
struct Recorder {
    QStringList log;
    void watch(ConverterModel& m)
    {
        QObject::connect(&m, &ConverterModel::phaseTitleChanged, [&] { log << "title: " + m.phaseTitle(); });
        QObject::connect(&m, &ConverterModel::phaseDetailChanged, [&] { log << "detail: " + m.phaseDetail(); });
        QObject::connect(&m, &ConverterModel::overallProgressChanged, [&] { log << QString("progress: %1").arg(m.overallProgress()); });
        QObject::connect(&m, &ConverterModel::statusLineChanged, [&] { log << "statusLine: " + m.statusLine(); });
        QObject::connect(&m, &ConverterModel::isConvertingChanged, [&] { log << QString("converting: %1").arg(m.isConverting()); });
        QObject::connect(&m, &ConverterModel::showOverlayChanged, [&] { log << QString("overlay: %1").arg(m.showOverlay()); });
        QObject::connect(&m, &ConverterModel::phaseDoneChanged, [&] { log << QString("done: %1").arg(m.phaseDone()); });
        QObject::connect(&m, &ConverterModel::phaseFailedChanged, [&] { log << QString("failed: %1").arg(m.phaseFailed()); });
        for (const FileItemPtr& item : m.queue()) {
            FileItem* i = item.get();
            QObject::connect(i, &FileItem::statusChanged, [this, i] { log << i->fileName() + " status: " + i->status(); });
            QObject::connect(i, &FileItem::stateChanged, [this, i] { log << i->fileName() + QString(" state: %1").arg(i->state()); });
        }
    }
    QStringList matching(const QString& prefix) const { return log.filter(QRegularExpression("^" + QRegularExpression::escape(prefix))); }
};

std::vector<std::uint8_t> noise() { return test::randomBytes(100000, 9); }

// A WAV file's length and rate, as "frames @ rate".
QString shape(const QUrl& wavFile)
{
    const test::Wav wav = test::readWav(QFile::encodeName(wavFile.toLocalFile()).toStdString());
    return QString("%1 @ %2").arg(wav.info.frames).arg(wav.info.samplerate);
}

QUrl url(const std::filesystem::path& path) { return QUrl::fromLocalFile(QString::fromStdString(path.string())); }

} // namespace

class ConverterModelTest : public QObject {
    Q_OBJECT

    test::ScratchDir dir;
    Pacer pacer;
    std::unique_ptr<ConverterModel> model;
    QStringList revealed;
    bool playerAvailable = true, fileManager = true;

    ModelServices services()
    {
        ModelServices s;
        s.pause = std::ref(pacer);
        s.makePlayer = [this](const QString&, std::function<void()>) -> std::unique_ptr<PreviewPlayer> {
            return playerAvailable ? std::make_unique<FakePlayer>() : nullptr;
        };
        s.reveal = [this](const QUrl& folder) {
            revealed << folder.toLocalFile();
            return fileManager;
        };
        return s;
    }

    // Queues as a drop does, and waits for the folders to be searched through and the files read.
    void add(const QList<QUrl>& urls)
    {
        model->addURLs(urls);
        waitForDetection();
    }

    void waitForDetection()
    {
        QTRY_VERIFY(!model->takingIn());
        QTRY_VERIFY(std::all_of(model->queue().begin(), model->queue().end(),
                                [](const FileItemPtr& i) { return i->confidence() != QStringLiteral("…"); }));
    }

    void runBatch()
    {
        model->convertAll();
        QTRY_VERIFY_WITH_TIMEOUT(!model->isConverting(), 20000);
    }

    // n files of music in one folder, queued and detected.
    void queueFiles(int n)
    {
        QList<QUrl> urls;
        for (int i = 1; i <= n; ++i)
            urls << url(dir.write("set/take " + std::to_string(i) + ".sd2", test::stereoTake()));
        add(urls);
    }

private slots:
    void init()
    {
        std::filesystem::remove_all(dir.path());
        std::filesystem::create_directories(dir.path());
        pacer.pauses.clear();
        revealed.clear();
        playerAvailable = fileManager = true;
        model = std::make_unique<ConverterModel>(services());
        for (QAbstractItemModel* rows : std::initializer_list<QAbstractItemModel*>{model->items(), model->rows()})
            new QAbstractItemModelTester(rows, QAbstractItemModelTester::FailureReportingMode::QtTest, model.get());
    }
    void cleanup() { model.reset(); }

    // A fresh model holds nothing and the default settings, and has nothing to run or reveal.
    void freshModel()
    {
        QCOMPARE(model->items()->rowCount(), 0);
        for (const auto& [name, value] : {std::pair{"pendingCount", "0"}, {"statusLine", ""}, {"sourceFormatChoice", "auto"},
                                          {"sourceRate", "44100"}, {"targetRate", "48000"}, {"targetDepth", "24"},
                                          {"targetChannels", "Stereo deliverable"}, {"normalizeLoudness", "false"}, {"defaultOutDir", ""}})
            QCOMPARE(model->property(name).toString(), QString(value));
        QSignalSpy converting(model.get(), &ConverterModel::isConvertingChanged);
        model->convertAll();
        model->revealOutput();
        QCOMPARE(converting.count(), 0);
        QVERIFY(model->statusLine().isEmpty());
        QVERIFY(revealed.isEmpty());
    }

    // A drop is queued in a file browser's order, each file once, in one change of the count;
    // the footer says which folders could not be opened.
    void intakeSaysWhatItCouldNotOpen()
    {
        for (const char* name : {"Take 10.sd2", "take 2.SD2", "Take 1.sd2", "b/other.sd2", "notes.wav"})
            dir.write(name, test::stereoTake());
        QSignalSpy pending(model.get(), &ConverterModel::pendingCountChanged);
        add({url(dir / "Take 10.sd2"), url(dir / "gone"), url(dir / "take 2.SD2"), url(dir / "Take 1.sd2"), url(dir / "notes.wav")});
        QStringList names;
        for (const FileItemPtr& item : model->queue())
            names << item->fileName();
        QCOMPARE(names, (QStringList{"Take 1.sd2", "take 2.SD2", "Take 10.sd2"}));
        QCOMPARE(pending.count(), 1);
        QCOMPARE(model->pendingCount(), 3);
        QCOMPARE(model->statusLine(), QStringLiteral("Couldn't open gone: No such file or directory"));

        // Queued already, given twice in one call, or again under another spelling while that call
        // is taken in: queued once.
        std::filesystem::create_symlink(dir / "b" / "other.sd2", dir / "link.sd2");
        model->addURLs({url(dir / "Take 1.sd2"), url(dir / "b" / "other.sd2"), url(dir / "b")});
        add({url(dir / "link.sd2")});
        QCOMPARE(model->queue().size(), 4u);
        QCOMPARE(model->defaultOutDir()->toLocalFile(), QString::fromStdString((dir / "_sd2_outputs").string()));
        add({url(dir / "gone"), url(dir / "gone too")});
        QCOMPARE(model->statusLine(), QStringLiteral("Couldn't open 2 folders — their files are left out"));
    }

    void ratesReadWithAFullStopUnderAnyLocale()
    {
        // What QCoreApplication sets up under LANG=de_DE.UTF-8: a decimal comma in the C
        // library's number formats, and in Qt's.
        const auto restore = qScopeGuard([c = std::string(setlocale(LC_ALL, nullptr)), qt = QLocale()] {
            setlocale(LC_ALL, c.c_str());
            QLocale::setDefault(qt);
        });
        QVERIFY2(setlocale(LC_ALL, "de_DE.UTF-8"), "the de_DE.UTF-8 locale is missing (tools/test.sh makes it)");
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QCOMPARE(QString(localeconv()->decimal_point), QStringLiteral(","));

        QStringList labels;
        for (const QVariant& option : model->property("targetRateOptions").toList())
            labels << option.toMap().value("label").toString();
        QCOMPARE(labels, (QStringList{"44.1", "48", "88.2", "96"}));

        model->setTargetRate(TargetRate::r88200);
        queueFiles(1);
        Recorder recorder;
        recorder.watch(*model);
        runBatch();
        QCOMPARE(model->queue()[0]->status(), QStringLiteral("Bounced → take 1_88.2kHz_24bit_stereo.wav"));
        QVERIFY2(recorder.log.contains(QStringLiteral("title: Printing to 88.2 kHz / 24-bit stereo…")), qPrintable(recorder.log.join('\n')));
        QVERIFY(recorder.log.contains(QStringLiteral("detail: Heard 16-bit big-endian · stereo · 44.1 kHz")));
    }

    void editingTheQueue()
    {
        queueFiles(4);
        const auto& q = model->queue();
        q[0]->setState(FileItem::done);
        q[0]->setOutputURL(QUrl::fromLocalFile("/x.wav"));
        q[1]->setState(FileItem::failed);
        QCOMPARE(model->pendingCount(), 3);

        model->requeue(q[0].get());
        QCOMPARE(q[0]->state(), FileItem::ready);
        QVERIFY(q[0]->outputURL().isEmpty());
        QCOMPARE(q[0]->status(), QStringLiteral("Back in the queue"));
        QCOMPARE(model->pendingCount(), 4);
        QTRY_VERIFY(q[0]->status().startsWith("16-bit BE (auto) · Stereo"));

        q[2]->setState(FileItem::done);
        const FileItemPtr first = q[0], kept = q[1], last = q[3];
        model->clearCompleted();
        QCOMPARE(model->queue().size(), 3u);
        model->remove(kept.get());
        QCOMPARE(model->queue(), (std::vector{first, last}));

        model->setSourceFormatChoice(SourceFormatChoice::fixed(SourceFormat::s24le));
        model->clear();
        QVERIFY(model->queue().empty());
        QCOMPARE(model->overallProgress(), 0.0);
        QVERIFY(model->statusLine().isEmpty());
        QCOMPARE(model->property("sourceFormatChoice").toString(), QStringLiteral("s24le"));
    }

    void detectionResults()
    {
        add({url(dir.write("a.sd2", test::stereoTake(SourceFormat::s24le))), url(dir / "gone.sd2")});
        const FileItemPtr gone = model->queue()[1], a = model->queue()[0];
        QCOMPARE(gone->status(), QStringLiteral("Unreadable file"));
        QCOMPARE(gone->confidence(), QStringLiteral("—"));
        QCOMPARE(gone->state(), FileItem::ready);
        QCOMPARE(a->status(), QStringLiteral("24-bit LE (auto) · Stereo · confident"));
        QCOMPARE(a->detectedFormat(), SourceFormat::s24le);

        // The row's picture follows the reading: read right, the left and right sines at their
        // own RMS levels (255 is full scale), one lane when overridden to mono; read wrong, noise.
        const auto meanRms = [](const WindowSketch::Lane& lane) {
            return std::accumulate(lane.rms.begin(), lane.rms.end(), 0.0) / lane.rms.size();
        };
        const auto right = a->readingLanes(SourceFormatChoice::automatic());
        QCOMPARE(right.size(), 2u);
        for (std::size_t lane = 0; lane < 2; ++lane)
            for (std::uint8_t rms : right[lane].rms)
                QVERIFY2(std::abs(rms - 255 * (lane ? 1500000 : 2000000) / 8388608.0 / std::sqrt(2.0)) <= 1.5, qPrintable(QString::number(rms)));
        QVERIFY(meanRms(a->readingLanes(SourceFormatChoice::fixed(SourceFormat::s24be))[0]) > 2.5 * meanRms(right[0]));
        a->setOverrideChoice(ChannelOverride::mono);
        QCOMPARE(a->readingLanes(SourceFormatChoice::automatic()).size(), 1u);
        a->setOverrideChoice(ChannelOverride::automatic);
        QVERIFY(gone->readingLanes(SourceFormatChoice::automatic()).empty());

        // A fixed choice drives the label and channel analysis; the detected format stays the best one.
        model->setSourceFormatChoice(SourceFormatChoice::fixed(SourceFormat::s16be));
        a->setState(FileItem::working);
        gone->setStatus("Bouncing…");
        gone->setState(FileItem::done);
        model->redetectAll();
        QTRY_VERIFY(gone->status() == QStringLiteral("Unreadable file"));
        QTest::qWait(50);
        // the working item is skipped
        QCOMPARE(a->status(), QStringLiteral("24-bit LE (auto) · Stereo · confident"));
        a->setState(FileItem::done);
        model->redetectAll();
        QTRY_VERIFY(a->status().startsWith("16-bit BE (set) · "));
        QCOMPARE(a->detectedFormat(), SourceFormat::s24le);
        QCOMPARE(a->state(), FileItem::done);
    }

    // A classic Mac file whose fork, unpacked from a Finder zip, lies in __MACOSX: described by
    // the fork only when the folder dropped holds that too (as in sd2wav; without it, the file
    // is found by its content), and bounced from its own 48 kHz rather than the 44.1 kHz
    // setting; never through a link left where _sd2_outputs goes.
    void fileInfoFromASidecar()
    {
        const auto samples = test::sine(48000, 40, 2000000);
        dir.write("zip/mac/Mix 3", test::encode(samples, SourceFormat::s24be));
        dir.write("zip/__MACOSX/mac/._Mix 3", test::appleDouble(test::resourceFork({"3", "48000.000000", "1"})));
        add({url(dir / "zip/mac")});
        QCOMPARE(model->queue()[0]->status(), QStringLiteral("24-bit BE (auto) · Mono · confident"));
        model->clear();
        add({url(dir / "zip")});
        QCOMPARE(model->queue().size(), 1u);
        const FileItemPtr item = model->queue()[0];
        QCOMPARE(item->status(), QStringLiteral("24-bit BE (file info) · Mono · 48 kHz"));
        QVERIFY(item->detectedFormat() == SourceFormat::s24be && item->detectedChannels() == 1);

        std::filesystem::create_directory(dir / "elsewhere");
        std::filesystem::create_symlink("../../elsewhere", dir / "zip/mac/_sd2_outputs");
        runBatch();
        QVERIFY2(item->status().startsWith("Choked: couldn't use "), qPrintable(item->status()));
        QVERIFY(std::filesystem::is_empty(dir / "elsewhere"));
        std::filesystem::remove(dir / "zip/mac/_sd2_outputs");
        runBatch();
        QCOMPARE(item->state(), FileItem::done);
        QCOMPARE(item->outputURL().fileName(), QStringLiteral("Mix 3_48kHz_24bit_stereo.wav"));
        QCOMPARE(shape(item->outputURL()), QStringLiteral("48000 @ 48000"));
    }

    // Once a folder is detected, its fork's rate and its three sure readings settle the rest,
    // and a run converts them so, noise too: a noisy reading is no evidence against its session.
    void sessionSettlesRowsInPlace()
    {
        for (const char* name : {"take 1.sd2", "take 2.sd2", "take 3.sd2"})
            dir.write(std::string("sess/") + name, test::stereoTake(SourceFormat::s24be));
        dir.write("sess/._take 3.sd2", test::appleDouble(test::resourceFork({"3", "48000.000000", "2"})));
        dir.write("sess/hiss.sd2", noise());
        add({url(dir / "sess")});
        const FileItemPtr hiss = model->queue()[0], take = model->queue()[1];
        QCOMPARE(hiss->status(), QStringLiteral("24-bit BE (auto) · Stereo · session · 48 kHz (session)"));
        QCOMPARE(take->status(), QStringLiteral("24-bit BE (auto) · Stereo · confident · 48 kHz (session)"));

        runBatch();
        QCOMPARE(shape(hiss->outputURL()), QString("%1 @ 48000").arg(100000 / 6));
        QCOMPARE(shape(take->outputURL()), QStringLiteral("44100 @ 48000")); // 48 kHz to 48 kHz
    }

    // Runs of 1 to 13 files: the pauses shorten as runs grow, and the summary counts the files;
    // the three-file run step by step as the views see it.
    void runsStepByStep()
    {
        for (int n : {1, 3, 4, 12, 13}) {
            init();
            queueFiles(n);
            Recorder recorder;
            recorder.watch(*model);
            runBatch();
            const double pace = n <= 3 ? 0.7 : n <= 12 ? 0.35 : 0.12;
            std::vector<double> expected{0.6};
            for (int i = 0; i < n; ++i)
                expected.insert(expected.end(), {0.3, pace, std::min(pace, 0.25)});
            expected.push_back(1.9);
            QCOMPARE(pacer.pauses, expected);
            QCOMPARE(model->statusLine(), n == 1 ? QStringLiteral("Bounced 1 file → _sd2_outputs")
                                                 : QStringLiteral("Bounced %1 files → _sd2_outputs").arg(n));
            if (n == 1)
                QCOMPARE(model->phaseTitle(), QStringLiteral("Bounced 1 — nice work"));
            if (n != 3)
                continue;
            QCOMPARE(recorder.matching("title: "),
                     (QStringList{"title: Cueing up the tape…", "title: Auditioning file 1 of 3…",
                                  "title: Printing to 48 kHz / 24-bit stereo…", "title: Auditioning file 2 of 3…",
                                  "title: Printing to 48 kHz / 24-bit stereo…", "title: Auditioning file 3 of 3…",
                                  "title: Printing to 48 kHz / 24-bit stereo…", "title: Bounced 3 — nice work"}));
            QCOMPARE(recorder.matching("take 2.sd2"),
                     (QStringList{"take 2.sd2 state: 1", "take 2.sd2 status: Bouncing…", "take 2.sd2 state: 2",
                                  "take 2.sd2 status: Bounced → take 2_48kHz_24bit_stereo.wav"}));
            QCOMPARE(recorder.matching("detail: ").mid(0, 4),
                     (QStringList{"detail: take 1.sd2", "detail: Heard 16-bit big-endian · stereo · 44.1 kHz",
                                  "detail: take 1.sd2", "detail: take 2.sd2"}));
            QCOMPARE(recorder.matching("progress: ").join(','), QStringLiteral("progress: 0.333333,progress: 0.666667,progress: 1"));
            QCOMPARE(recorder.log.mid(recorder.log.size() - 7),
                     (QStringList{"progress: 1", "done: 1", "title: Bounced 3 — nice work", "detail: Filed under _sd2_outputs",
                                  "statusLine: Bounced 3 files → _sd2_outputs", "overlay: 0", "converting: 0"}));
            for (const FileItemPtr& item : model->queue())
                QCOMPARE(shape(item->outputURL()), QStringLiteral("48000 @ 48000"));
            QCOMPARE(model->pendingCount(), 0);
            model->convertAll();
            QCOMPARE(model->statusLine(), QStringLiteral("Nothing queued — everything's already bounced."));
            QVERIFY(!model->isConverting());
        }
    }

    void failuresAndRetries()
    {
        queueFiles(3);
        const auto hiss = dir.write("alone/take 4.sd2", noise()); // no session to settle it
        add({url(hiss), url(dir / "set" / "take 5.sd2")});
        model->queue()[0]->setState(FileItem::done);
        // A file where the output folder should be: every write fails, with a long error text.
        const std::string longName(60, 'o');
        dir.write(longName, {});
        model->setOutputFolder(url(dir / longName));
        Recorder recorder;
        recorder.watch(*model);
        runBatch();

        const auto& q = model->queue();
        // a done item is skipped
        QCOMPARE(q[0]->state(), FileItem::done);
        QCOMPARE(q[1]->state(), FileItem::failed);
        QVERIFY2(q[1]->status().startsWith("Choked: couldn't create a file in "), qPrintable(q[1]->status()));
        QCOMPARE(q[1]->status().size(), 8 + 80);
        QCOMPARE(q[3]->status(), QStringLiteral("Reads as static — try another source format in Advanced"));
        QCOMPARE(q[4]->status(), QStringLiteral("Couldn't read the file"));
        QVERIFY(model->phaseFailed());
        QCOMPARE(model->phaseTitle(), QStringLiteral("4 need another look"));
        QCOMPARE(model->phaseDetail(), QStringLiteral("The rest are safe in ") + QString::fromStdString(longName));
        QCOMPARE(model->statusLine(), QStringLiteral("4 of 4 flagged — check the bench."));
        // Failures before the analysis line take no pause after them.
        QCOMPARE(pacer.pauses, (std::vector<double>{0.6, 0.3, 0.35, 0.25, 0.3, 0.35, 0.25, 0.3, 0.3, 1.9}));

        // The next run takes the failed items again, and corrects an encoding that reads as
        // static (as if detection had guessed wrong), for the row to show.
        model->setOutputFolder(url(dir / "out"));
        q[2]->setDetectedFormat(SourceFormat::s16le);
        runBatch();
        QCOMPARE(q[1]->state(), FileItem::done);
        QCOMPARE(q[2]->state(), FileItem::done);
        QCOMPARE(q[2]->detectedFormat(), SourceFormat::s16be);
        QVERIFY(recorder.log.contains("detail: Auto-corrected · 16-bit big-endian · stereo · 44.1 kHz"));
        QCOMPARE(model->phaseTitle(), QStringLiteral("2 need another look"));
        QCOMPARE(shape(q[1]->outputURL()), QStringLiteral("48000 @ 48000"));
    }

    // Memory running out in one file's bounce (here, thrown from its analysis pause) fails
    // that file; the worker goes on with the rest.
    void outOfMemoryFailsOneFileAndTheRunGoesOn()
    {
        ModelServices failing = services();
        int analysisPauses = 0;
        failing.pause = [&](double seconds) {
            if (seconds == 0.7 && ++analysisPauses == 2)
                throw std::bad_alloc();
            pacer(seconds);
        };
        model = std::make_unique<ConverterModel>(failing);
        queueFiles(3);
        model->setOutputFolder(url(dir / "out"));
        runBatch();
        const auto& q = model->queue();
        QCOMPARE(q[0]->state(), FileItem::done);
        QCOMPARE(q[1]->state(), FileItem::failed);
        QCOMPARE(q[1]->status(), QStringLiteral("Choked: not enough memory"));
        QCOMPARE(q[2]->state(), FileItem::done);
        QCOMPARE(model->statusLine(), QStringLiteral("1 of 3 flagged — check the bench."));
    }

    // The user keeps changing overrides and the source format while a run reads them:
    // under ThreadSanitizer this shows the worker's reads are race-free.
    void editsDuringARun()
    {
        ModelServices slow = services();
        slow.pause = [](double seconds) { QThread::usleep(static_cast<unsigned long>(seconds * 2000)); };
        model = std::make_unique<ConverterModel>(slow);
        queueFiles(4);
        model->convertAll();
        int flips = 0;
        while (model->isConverting()) {
            for (const FileItemPtr& item : model->queue())
                item->setOverrideChoice(++flips % 2 ? ChannelOverride::stereo : ChannelOverride::automatic);
            model->setSourceFormatChoice(flips % 3 ? SourceFormatChoice::automatic() : SourceFormatChoice::fixed(SourceFormat::s16be));
            model->redetectAll();
            QTest::qWait(1);
        }
        QVERIFY(flips > 10);
        QCOMPARE(model->pendingCount(), 0);
        waitForDetection();
    }

    void auditionAndReveal()
    {
        const auto stereo = dir.write("drums.sd2", test::stereoTake(SourceFormat::s16be, 5));
        const auto tiny = dir.write("tiny.sd2", {1});
        add({url(stereo), url(tiny), url(dir / "gone.sd2")});
        const auto& q = model->queue();
        const FileItemPtr drums = q[0];

        model->setSourceRate(SourceRate::r22050);
        model->preview(drums.get());
        QTRY_COMPARE(model->statusLine(), QStringLiteral("Previewing drums.sd2 as stereo…"));
        const QUrl wav = QUrl::fromLocalFile(QDir::temp().filePath("sd2preview_" + drums->idText() + ".wav"));
        QCOMPARE(shape(wav), QStringLiteral("88200 @ 22050"));

        drums->setOverrideChoice(ChannelOverride::mono);
        model->setSourceRate(SourceRate::r44100);
        model->preview(drums.get());
        QTRY_COMPARE(model->statusLine(), QStringLiteral("Previewing drums.sd2 as mono…"));
        // same file name, replaced
        QCOMPARE(shape(wav), QStringLiteral("176400 @ 44100")); // four seconds

        for (const FileItemPtr& bad : {q[1], q[2]}) {
            model->clear();
            model->preview(bad.get());
            QTRY_COMPARE(model->statusLine(), QStringLiteral("Preview couldn't render."));
        }
        model->clear();
        playerAvailable = false;
        model->preview(drums.get());
        QTRY_COMPARE(model->statusLine(), QStringLiteral("Could not play preview."));
        model->stopPreview();

        add({url(stereo)});
        model->revealOutput();
        model->setOutputFolder(url(dir / "chosen"));
        model->revealOutput();
        QCOMPARE(revealed, (QStringList{QString::fromStdString((dir / "_sd2_outputs").string()),
                                        QString::fromStdString((dir / "chosen").string())}));
        fileManager = false; // no file manager: the status line says where the files are
        model->revealOutput();
        QCOMPARE(model->statusLine(), "Couldn't open a file manager — the files are in " + QString::fromStdString((dir / "chosen").string()));
        QFile::remove(wav.toLocalFile());
    }

    // A split-stereo pair is one row, reads and bounces as stereo, and can be taken apart.
    void splitStereoPairIsOneRow()
    {
        const auto half = [](double period) { return test::encode(test::sine(44100, period, 9000), SourceFormat::s16be); };
        dir.write("s/Gtr.L.sd2", half(20));
        dir.write("s/Gtr.R.sd2", half(29));
        dir.write("s/Solo.R.sd2", half(23));
        add({url(dir / "s")});
        const auto& q = model->queue();
        QCOMPARE(q.size(), 2u);
        QCOMPARE(q[0]->fileName(), QStringLiteral("Gtr"));
        QVERIFY(q[0]->isPair());
        QCOMPARE(q[0]->halves(), QStringLiteral("Gtr.L.sd2 + Gtr.R.sd2"));
        QVERIFY2(q[0]->status().startsWith("16-bit BE (auto) · Stereo (L + R) · "), qPrintable(q[0]->status()));
        q[0]->setOverrideChoice(ChannelOverride::mono); // the menu does not apply to a pair
        QCOMPARE(q[0]->sourceChannels(), 2);
        QCOMPARE(q[1]->fileName(), QStringLiteral("Solo.R.sd2"));

        add({url(dir / "s" / "Gtr.R.sd2")}); // a queued half is not queued again
        QCOMPARE(q.size(), 2u);

        model->setTargetChannels(TargetChannels::preserve);
        runBatch();
        QCOMPARE(q[0]->status(), QStringLiteral("Bounced → Gtr_48kHz_24bit_stereo.wav"));
        QCOMPARE(shape(q[0]->outputURL()), QStringLiteral("48000 @ 48000"));

        model->splitPair(q[0].get());
        QStringList names;
        for (const FileItemPtr& item : q)
            names << item->fileName();
        QCOMPARE(names, (QStringList{"Gtr.L.sd2", "Gtr.R.sd2", "Solo.R.sd2"}));
        waitForDetection();
        QVERIFY2(q[1]->status().startsWith("16-bit BE (auto) · Mono"), qPrintable(q[1]->status()));
    }

    // The real player on a machine without sound output must fail gracefully, not hang.
    void auditionWithoutAudioDevice()
    {
        if (!QMediaDevices::audioOutputs().isEmpty())
            QSKIP("this machine has an audio output");
        ConverterModel real(ModelServices::system());
        real.addURLs({url(dir.write("x.sd2", test::stereoTake()))});
        QTRY_VERIFY(!real.takingIn());
        real.preview(real.queue()[0].get());
        QTRY_COMPARE(real.statusLine(), QStringLiteral("Could not play preview."));
    }
};

QTEST_GUILESS_MAIN(ConverterModelTest)
#include "ConverterModelTest.moc"
