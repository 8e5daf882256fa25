// Scene tests: ContentView on a test model, read back and clicked through as a user would.
#include "model/ConverterModel.hpp"
#include "support/files.hpp"
#include "support/signals.hpp"
#include "ui/AppSettings.hpp"

#include <QQmlEngine>
#include <QQuickItem>
#include <QQmlComponent>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>

Q_IMPORT_QML_PLUGIN(QuorvelPlugin)

using namespace quorvel;

namespace {

// The batch worker's pauses: none sleeps, but the one of length `held` waits for release(),
// so a run can be looked at between its steps without racing it.
struct Gate {
    std::mutex mutex;
    std::condition_variable released;
    double held = -1, waiting = 0;
    int releases = 0;
    void operator()(double seconds)
    {
        std::unique_lock lock(mutex);
        if (seconds != held)
            return;
        waiting = seconds;
        released.wait(lock, [&, ticket = releases] { return releases != ticket; });
        waiting = 0;
    }
    void hold(double seconds) { const std::lock_guard lock(mutex); held = seconds; }
    double waitingAt() { const std::lock_guard lock(mutex); return waiting; }
    void release(double next = -1)
    {
        const std::lock_guard lock(mutex);
        held = next;
        ++releases;
        released.notify_all();
    }
};

struct Silent : PreviewPlayer {
    void play() override {}
    void stop() override {}
};

QUrl url(const std::filesystem::path& path) { return QUrl::fromLocalFile(QString::fromStdString(path.string())); }

// The visual tree under `root`, depth first; it holds a Repeater's rows, the object tree does not.
QList<QQuickItem*> descendants(QQuickItem* root)
{
    QList<QQuickItem*> all;
    for (QQuickItem* child : root->childItems())
        all << child << descendants(child);
    return all;
}

QQuickItem* named(QQuickItem* root, const QString& name)
{
    for (QQuickItem* item : descendants(root))
        if (item->objectName() == name)
            return item;
    return nullptr;
}

// Every visible text under `root`, in tree order.
QStringList visibleTexts(QQuickItem* root)
{
    QStringList texts;
    for (QQuickItem* item : descendants(root))
        if (item->inherits("QQuickText") && item->isVisible())
            texts << item->property("text").toString();
    return texts;
}

QQuickItem* withSymbol(QQuickItem* row, const char* symbol)
{
    for (QQuickItem* item : descendants(row))
        if (item->property("symbol").toString() == QLatin1String(symbol))
            return item;
    return nullptr;
}

void click(QQuickItem* item)
{
    QVERIFY(item);
    QTest::mouseClick(item->window(), Qt::LeftButton, {}, item->mapToScene(item->boundingRect().center()).toPoint());
}

} // namespace

class ContentViewTest : public QObject {
    Q_OBJECT

    QTemporaryDir config;
    test::ScratchDir dir;
    Gate gate;
    std::unique_ptr<ConverterModel> model;
    std::unique_ptr<AppSettings> settings;
    std::unique_ptr<QQmlEngine> engine; // one engine: the singletons may belong to one only
    std::unique_ptr<QQuickWindow> view;

    QQuickItem* root() { return named(view->contentItem(), "contentView"); }
    QQuickItem* find(const char* name) { return named(root(), name); }

    // The app's window, as it starts: ContentView completes inside it, so the sheet can open.
    void show()
    {
        QQmlComponent main(engine.get(), QUrl("qrc:/qt/qml/Quorvel/Main.qml"));
        view.reset(qobject_cast<QQuickWindow*>(main.create()));
        QVERIFY2(view, qPrintable(main.errorString()));
        view->resize(760, 1500); // tall enough that every row is on screen to click
        view->requestActivate(); // shortcuts go to the active window
        QVERIFY(QTest::qWaitForWindowActive(view.get()));
    }

    // Files named by `names`, missing unless `music`, queued and past detection.
    std::vector<FileItem*> queue(const QStringList& names, bool music = false)
    {
        QList<QUrl> urls;
        for (const QString& name : names) {
            const auto path = dir / name.toStdString();
            const auto tone = test::interleave(test::sine(44100, 40, 9000), test::sine(44100, 25, 7000));
            urls << url(music ? dir.write(name.toStdString(), test::encode(tone, SourceFormat::s16be)) : path);
        }
        model->addURLs(urls);
        std::vector<FileItem*> items;
        for (const FileItemPtr& item : model->queue())
            items.push_back(item.get());
        if (!QTest::qWaitFor([&] { return std::none_of(items.begin(), items.end(), [](auto* i) { return i->confidence() == "…"; }); }))
            QTest::qFail("detection did not finish", __FILE__, __LINE__);
        return items;
    }

    int litBars()
    {
        auto* bars = root()->property("header").value<QObject*>()->property("meter").value<QObject*>()->property("bars").value<QObject*>();
        int lit = 0;
        for (int i = 0; i < bars->property("count").toInt(); ++i) {
            QQuickItem* bar = nullptr;
            QMetaObject::invokeMethod(bars, "itemAt", Q_RETURN_ARG(QQuickItem*, bar), Q_ARG(int, i));
            lit += bar->property("lit").toBool();
        }
        return lit;
    }

private slots:
    void initTestCase()
    {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, config.path());
        QCoreApplication::setOrganizationName("QuorvelTest");
        ModelServices services;
        services.pause = std::ref(gate);
        services.makePlayer = [](const QString&, std::function<void()>) { return std::make_unique<Silent>(); };
        services.reveal = [](const QUrl&) {};
        model = std::make_unique<ConverterModel>(services);
        settings = std::make_unique<AppSettings>();
        qmlRegisterSingletonInstance("Quorvel", 1, 0, "Model", model.get());
        qmlRegisterSingletonInstance("Quorvel", 1, 0, "Settings", settings.get());
        engine = std::make_unique<QQmlEngine>();
    }
    void init() { settings->setHideVolumeWarning(true); }
    void cleanup()
    {
        gate.release();
        QTRY_VERIFY(!model->isConverting());
        view.reset();
        model->clear();
        model->setShowAdvanced(false);
    }
    void cleanupTestCase() { engine.reset(); }

    void rowsBySectionAndState()
    {
        show();
        const auto q = queue({"a.sd2", "b.sd2", "c.sd2", "d.sd2", "e.sd2"});
        struct Case { FileItem::State state; QString confidence; bool hint, menu, requeue; };
        const Case cases[] = {{FileItem::ready, "verify by ear", true, true, false},
                              {FileItem::working, "verify by ear", true, true, false},
                              {FileItem::done, "verify by ear", false, false, true},
                              {FileItem::failed, "verify by ear", true, true, true},
                              {FileItem::ready, "confident", false, true, false}};
        for (std::size_t i = 0; i < q.size(); ++i) {
            q[i]->setState(cases[i].state);
            q[i]->setConfidence(cases[i].confidence);
        }
        QCOMPARE(find("benchSection")->isVisible(), true);
        QVERIFY(visibleTexts(find("benchSection")).contains("QUEUE · 4"));
        QVERIFY(visibleTexts(find("completedSection")).contains("COMPLETED · 1"));

        QList<QQuickItem*> shown; // each item has a row in both sections; its state picks one
        for (QQuickItem* item : descendants(root()))
            if (item->property("item").isValid() && item->isVisible())
                shown << item;
        QCOMPARE(shown.size(), 5);
        for (QQuickItem* row : shown) {
            const auto at = std::find(q.begin(), q.end(), row->property("item").value<QObject*>()) - q.begin();
            const Case& c = cases[at];
            const auto section = c.state == FileItem::done ? "completedSection" : "benchSection";
            QVERIFY2(row->parentItem() == find(section), qPrintable(QString("row %1").arg(at)));
            QVERIFY2(named(row, "listenHint")->isVisible() == c.hint, qPrintable(QString("hint, row %1").arg(at)));
            QVERIFY2(named(row, "overrideMenu")->isVisible() == c.menu, qPrintable(QString("menu, row %1").arg(at)));
            QVERIFY2(named(row, "requeueButton")->isVisible() == c.requeue, qPrintable(QString("requeue, row %1").arg(at)));
            QVERIFY(withSymbol(row, "play_arrow")->isVisible());
            QVERIFY(withSymbol(row, "close")->isVisible());
        }

        // One section empties, the other stays.
        q[2]->setState(FileItem::ready);
        QVERIFY(!find("completedSection")->isVisible());
        for (FileItem* item : q)
            item->setState(FileItem::done);
        QVERIFY(!find("benchSection")->isVisible());
        QVERIFY(visibleTexts(find("completedSection")).contains("COMPLETED · 5"));
    }

    void overrideMenu()
    {
        show();
        const auto q = queue({"mono.sd2", "stereo.sd2"});
        q[0]->setDetectedChannels(1);
        q[1]->setDetectedChannels(2);
        const QStringList faces[] = {{"Auto (Mono)", "Mono", "Stereo"}, {"Auto (Stereo)", "Mono", "Stereo"}};
        QList<QQuickItem*> rows;
        for (QQuickItem* item : descendants(root()))
            if (item->objectName() == "overrideMenu" && item->isVisible())
                rows << item;
        QCOMPARE(rows.size(), 2);
        for (int r = 0; r < 2; ++r) {
            QCOMPARE(named(rows[r], "overrideText")->property("text").toString(), faces[r][0]);
            QObject* menu = rows[r]->findChild<QObject*>("overrideChoices");
            QStringList labels;
            for (int i = 0; i < menu->property("count").toInt(); ++i) {
                QQuickItem* entry = nullptr;
                QMetaObject::invokeMethod(menu, "itemAt", Q_RETURN_ARG(QQuickItem*, entry), Q_ARG(int, i));
                labels << entry->property("text").toString();
            }
            QCOMPARE(labels, faces[r]);
        }

        // Open the stereo file's menu and pick Mono, as a user would.
        QObject* menu = rows[1]->findChild<QObject*>("overrideChoices");
        click(rows[1]);
        QTRY_VERIFY(menu->property("opened").toBool());
        QQuickItem* mono = nullptr;
        QMetaObject::invokeMethod(menu, "itemAt", Q_RETURN_ARG(QQuickItem*, mono), Q_ARG(int, 1));
        click(mono);
        QCOMPARE(q[1]->overrideChoice(), ChannelOverride::mono);
        QCOMPARE(q[0]->overrideChoice(), ChannelOverride::automatic);
        QCOMPARE(named(rows[1], "overrideText")->property("text").toString(), QStringLiteral("Mono"));
    }

    // The footer, meter and overlay through a real run, held at its first and closing pauses.
    void runInTheViews()
    {
        show();
        QQuickItem* bounce = find("bounceButton");
        QQuickItem* overlay = find("progressOverlay");
        QCOMPARE(bounce->property("text").toString(), QStringLiteral("BOUNCE 0 →"));
        QVERIFY(!bounce->isEnabled());
        QCOMPARE(litBars(), 1); // level 0 lights the first bar

        queue({"a.sd2", "b.sd2", "c.sd2"}, true);
        QCOMPARE(bounce->property("text").toString(), QStringLiteral("BOUNCE 3 →"));
        QVERIFY(bounce->isEnabled());
        QCOMPARE(litBars(), 3); // 0.14: ready to go
        QVERIFY(!overlay->isVisible());

        gate.hold(0.6);
        click(bounce);
        QTRY_COMPARE(gate.waitingAt(), 0.6);
        QCOMPARE(bounce->property("text").toString(), QStringLiteral("BOUNCING…"));
        QVERIFY(!bounce->isEnabled());
        QTRY_VERIFY(overlay->isVisible());
        QCOMPARE(overlay->property("mark").toString(), QStringLiteral("spinner"));
        QCOMPARE(named(overlay, "progressBar")->opacity(), 1.0);

        gate.release(1.9);
        QTRY_COMPARE(gate.waitingAt(), 1.9);
        // The status line is the last change posted before that pause.
        QTRY_VERIFY(!model->statusLine().isEmpty());
        QCOMPARE(overlay->property("mark").toString(), QStringLiteral("seal"));
        QTRY_COMPARE(named(overlay, "progressBar")->opacity(), 0.0);

        gate.release();
        QTRY_VERIFY(!overlay->isVisible());
        QCOMPARE(bounce->property("text").toString(), QStringLiteral("BOUNCE 0 →"));

        // A file that is gone fails; the overlay closes on a warning instead of the seal.
        queue({"gone.sd2"});
        gate.hold(1.9);
        model->convertAll();
        QTRY_COMPARE(gate.waitingAt(), 1.9);
        QTRY_VERIFY(!model->statusLine().isEmpty());
        QCOMPARE(overlay->property("mark").toString(), QStringLiteral("warning"));
    }

    void meterLevels()
    {
        show();
        QObject* meter = root()->property("header").value<QObject*>()->property("meter").value<QObject*>();
        for (auto [level, lit] : {std::pair{0.0, 1}, {0.14, 3}, {0.5, 9}, {1.0, 16}, {-0.2, 0}}) {
            meter->setProperty("level", level);
            QCOMPARE(litBars(), lit);
        }
    }

    void volumeWarningRemembered()
    {
        QSettings().clear(); // a first launch
        show();
        QObject* sheet = root()->property("warning").value<QObject*>();
        QVERIFY(sheet->property("visible").toBool());
        QTRY_VERIFY(sheet->property("opened").toBool());
        // Return with the box unticked closes it for this launch only.
        QTest::keyClick(view.get(), Qt::Key_Return);
        QTRY_VERIFY(!sheet->property("visible").toBool());
        QVERIFY(!QSettings().contains(AppSettings::warnKey));

        show();
        sheet = root()->property("warning").value<QObject*>();
        QTRY_VERIFY(sheet->property("opened").toBool());
        QQuickItem* box = nullptr;
        QQuickItem* card = sheet->property("contentItem").value<QQuickItem*>();
        for (QQuickItem* item : descendants(card))
            if (item->inherits("QQuickCheckBox"))
                box = item;
        click(box);
        QVERIFY(sheet->property("dontShow").toBool());
        click(named(card, "gotItButton"));
        QTRY_VERIFY(!sheet->property("visible").toBool());
        QCOMPARE(QSettings().value(AppSettings::warnKey), QVariant(true));

        show();
        QVERIFY(!root()->property("warning").value<QObject*>()->property("visible").toBool());
    }

    void settingsCard()
    {
        show();
        QCOMPARE(visibleTexts(find("rateSegments")), (QStringList{"44.1", "48", "88.2", "96"}));
        QCOMPARE(visibleTexts(find("depthSegments")), (QStringList{"16", "24", "32"}));
        QStringList captions = visibleTexts(root());
        for (const char* caption : {"SAMPLE RATE", "BIT DEPTH", "CHANNELS"})
            QVERIFY2(captions.contains(caption), caption);
        QVERIFY(!captions.contains("SOURCE FORMAT"));
        QVERIFY(!captions.contains("SOURCE RATE"));

        // A segment writes the model; the heading opens the advanced section.
        QQuickItem* advanced = nullptr;
        QQuickItem* rate96 = nullptr;
        for (QQuickItem* item : descendants(root()))
            if (item->property("text").toString() == "ADVANCED INPUT SETTINGS")
                advanced = item;
        for (QQuickItem* item : descendants(find("rateSegments")))
            if (item->property("text").toString() == "96")
                rate96 = item;
        click(rate96);
        QCOMPARE(model->property("targetRate").toInt(), 96000);
        QVERIFY(rate96->parentItem()->property("selected").toBool());
        click(advanced);
        QVERIFY(model->showAdvanced());
        captions = visibleTexts(root());
        QVERIFY(captions.contains("SOURCE FORMAT"));
        QVERIFY(captions.contains("SOURCE RATE"));
        model->setTargetRate(TargetRate::r48000);
    }
};

QTEST_MAIN(ContentViewTest)
#include "ContentViewTest.moc"
