// Scene tests: the app's window on a test model, read back and clicked through as a user would.
#include "model/ConverterModel.hpp"
#include "support/files.hpp"
#include "support/signals.hpp"
#include "ui/AppSettings.hpp"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest/quicktest.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>

Q_IMPORT_QML_PLUGIN(QuorvelPlugin)

using namespace quorvel;

namespace {

// The batch worker's pauses: none sleeps, but one of length `held` waits for release(), so
// a run can be looked at between its steps without racing it.
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

// Items under `root` that `wanted` picks, depth first through the visual tree: that tree
// holds a Repeater's rows, the object tree does not.
QList<QQuickItem*> matching(QQuickItem* root, const std::function<bool(QQuickItem*)>& wanted)
{
    QList<QQuickItem*> found;
    for (QQuickItem* child : root->childItems()) {
        if (wanted(child))
            found << child;
        found << matching(child, wanted);
    }
    return found;
}

QQuickItem* named(QQuickItem* root, const QString& name)
{
    return matching(root, [&](QQuickItem* i) { return i->objectName() == name; }).value(0);
}
QQuickItem* withText(QQuickItem* root, const QString& text)
{
    return matching(root, [&](QQuickItem* i) { return i->property("text").toString() == text; }).value(0);
}

QStringList visibleTexts(QQuickItem* root)
{
    QStringList texts;
    for (QQuickItem* item : matching(root, [](QQuickItem* i) { return i->inherits("QQuickText") && i->isVisible(); }))
        texts << item->property("text").toString();
    return texts;
}

// Entry i of a Repeater or a Menu.
QQuickItem* itemAt(QObject* container, int i)
{
    QQuickItem* item = nullptr;
    QMetaObject::invokeMethod(container, "itemAt", Q_RETURN_ARG(QQuickItem*, item), Q_ARG(int, i));
    return item;
}

QObject* prop(QObject* object, const char* name) { return object->property(name).value<QObject*>(); }

void click(QQuickItem* item)
{
    QVERIFY(item);
    QVERIFY(QQuickTest::qWaitForPolish(item->window())); // a menu just opened lays out its entries late
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
    std::unique_ptr<QQmlEngine> engine; // one for the whole run: the singletons may belong to one only
    std::unique_ptr<QQuickWindow> window;

    QQuickItem* root() { return named(window->contentItem(), "contentView"); }
    QQuickItem* find(const char* name) { return named(root(), name); }
    QString bounceText() { return find("bounceButton")->property("text").toString(); }

    // The app's window as it starts; ContentView completes inside it, so the sheet can open.
    void show()
    {
        QQmlComponent main(engine.get(), QUrl("qrc:/qt/qml/Quorvel/Main.qml"));
        window.reset(qobject_cast<QQuickWindow*>(main.create()));
        QVERIFY2(window, qPrintable(main.errorString()));
        window->resize(760, 1500); // every row on screen to click
        window->requestActivate(); // shortcuts go to the active window
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }

    // Queues files named `names` (missing ones unless `music`) and waits out detection.
    std::vector<FileItem*> queue(const QStringList& names, bool music = false)
    {
        const auto tone = test::encode(test::interleave(test::sine(44100, 40, 9000), test::sine(44100, 25, 7000)), SourceFormat::s16be);
        QList<QUrl> urls;
        for (const QString& name : names)
            urls << QUrl::fromLocalFile(QString::fromStdString((music ? dir.write(name.toStdString(), tone) : dir / name.toStdString()).string()));
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
        QObject* bars = prop(prop(prop(root(), "header"), "meter"), "bars");
        int lit = 0;
        for (int i = 0; i < bars->property("count").toInt(); ++i)
            lit += itemAt(bars, i)->property("lit").toBool();
        return lit;
    }

private slots:
    void initTestCase()
    {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, config.path());
        QCoreApplication::setOrganizationName("QuorvelTest");
        ModelServices services;
        services.pause = std::ref(gate);
        services.makePlayer = [](const QString&, std::function<void()>) { return std::unique_ptr<PreviewPlayer>(); };
        services.reveal = [](const QUrl&) { return true; };
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
        window.reset();
        model->clear();
        model->setShowAdvanced(false);
        model->setTargetRate(TargetRate::r48000);
    }
    void cleanupTestCase() { engine.reset(); }

    void rowsBySectionAndState()
    {
        show();
        const auto q = queue({"a.sd2", "b.sd2", "c.sd2", "d.sd2", "e.sd2"});
        const std::tuple<FileItem::State, QString, QStringList> cases[] = {
            {FileItem::ready, "verify by ear", {"listenHint", "overrideMenu", "play", "remove"}},
            {FileItem::working, "verify by ear", {"listenHint", "overrideMenu", "play", "remove"}},
            {FileItem::done, "verify by ear", {"play", "requeueButton", "remove"}},
            {FileItem::failed, "verify by ear", {"listenHint", "overrideMenu", "play", "requeueButton", "remove"}},
            {FileItem::ready, "confident", {"overrideMenu", "play", "remove"}}};
        for (std::size_t i = 0; i < q.size(); ++i) {
            q[i]->setState(std::get<0>(cases[i]));
            q[i]->setConfidence(std::get<1>(cases[i]));
        }
        QCOMPARE(visibleTexts(find("benchSection")).value(0), QStringLiteral("QUEUE · 4"));
        QCOMPARE(visibleTexts(find("completedSection")).value(0), QStringLiteral("COMPLETED · 1"));

        // Every item has a row in both sections; its state shows one of them.
        const auto rows = matching(root(), [](QQuickItem* i) { return i->property("item").isValid() && i->isVisible(); });
        QCOMPARE(rows.size(), 5);
        for (QQuickItem* row : rows) {
            const auto at = std::find(q.begin(), q.end(), prop(row, "item")) - q.begin();
            const bool done = std::get<0>(cases[at]) == FileItem::done;
            QCOMPARE(row->parentItem(), find(done ? "completedSection" : "benchSection"));
            QStringList shown;
            for (QQuickItem* control : matching(row, [](QQuickItem* i) { return i->isVisible(); })) {
                const QString symbol = control->property("symbol").toString();
                shown << (symbol == "play_arrow" ? "play" : symbol == "close" ? "remove" : control->objectName());
            }
            shown.removeAll("overrideText"); // inside the menu's face
            shown.removeAll("");
            QCOMPARE(shown, std::get<2>(cases[at]));
        }

        q[2]->setState(FileItem::ready);
        QVERIFY(!find("completedSection")->isVisible());
        for (FileItem* item : q)
            item->setState(FileItem::done);
        QVERIFY(!find("benchSection")->isVisible());
        QCOMPARE(visibleTexts(find("completedSection")).value(0), QStringLiteral("COMPLETED · 5"));
    }

    void overrideMenu()
    {
        show();
        const auto q = queue({"mono.sd2", "stereo.sd2"});
        q[0]->setDetectedChannels(1);
        const auto menus = matching(root(), [](QQuickItem* i) { return i->objectName() == "overrideMenu" && i->isVisible(); });
        QCOMPARE(menus.size(), 2);
        for (const auto& [face, menu] : {std::pair{QString("Auto (Mono)"), menus[0]}, {QString("Auto (Stereo)"), menus[1]}}) {
            QCOMPARE(named(menu, "overrideText")->property("text").toString(), face);
            QObject* choices = menu->findChild<QObject*>("overrideChoices");
            QStringList labels;
            for (int i = 0; i < choices->property("count").toInt(); ++i)
                labels << itemAt(choices, i)->property("text").toString();
            QCOMPARE(labels, (QStringList{face, "Mono", "Stereo"}));
        }

        QObject* choices = menus[1]->findChild<QObject*>("overrideChoices");
        click(menus[1]);
        QTRY_VERIFY(choices->property("opened").toBool());
        click(itemAt(choices, 1));
        QCOMPARE(q[1]->overrideChoice(), ChannelOverride::mono);
        QCOMPARE(q[0]->overrideChoice(), ChannelOverride::automatic);
        QCOMPARE(named(menus[1], "overrideText")->property("text").toString(), QStringLiteral("Mono"));
    }

    void splitStereoPairRow()
    {
        show();
        const auto q = queue({"Gtr.L.sd2", "Gtr.R.sd2"}, true);
        QCOMPARE(q.size(), 1u);
        const auto rows = matching(root(), [](QQuickItem* i) { return i->property("item").isValid() && i->isVisible(); });
        QCOMPARE(rows.size(), 1);
        QVERIFY(visibleTexts(rows[0]).contains("Gtr"));
        QQuickItem* menu = named(rows[0], "overrideMenu");
        QCOMPARE(named(menu, "overrideText")->property("text").toString(), QStringLiteral("Stereo (L + R)"));
        QObject* choices = menu->findChild<QObject*>("overrideChoices");
        QCOMPARE(choices->property("count").toInt(), 1);
        click(menu);
        QTRY_VERIFY(choices->property("opened").toBool());
        QCOMPARE(itemAt(choices, 0)->property("text").toString(), QStringLiteral("Split into L and R"));
        click(itemAt(choices, 0));
        QTRY_COMPARE(model->queue().size(), 2u);
        QCOMPARE(model->queue()[1]->fileName(), QStringLiteral("Gtr.R.sd2"));
    }

    // The footer, meter and overlay through real runs, held at the first and the closing pause.
    void runInTheViews()
    {
        show();
        QQuickItem* overlay = find("progressOverlay");
        QQuickItem* bar = named(overlay, "progressBar");
        QCOMPARE(bounceText(), QStringLiteral("BOUNCE 0 →"));
        QVERIFY(!find("bounceButton")->isEnabled());
        QCOMPARE(litBars(), 1); // at rest the meter reads 0

        queue({"a.sd2", "b.sd2", "c.sd2"}, true);
        QCOMPARE(bounceText(), QStringLiteral("BOUNCE 3 →"));
        QVERIFY(find("bounceButton")->isEnabled());
        QCOMPARE(litBars(), 3); // 0.14 while something waits
        QVERIFY(!overlay->isVisible());

        gate.hold(0.6);
        click(find("bounceButton"));
        QTRY_COMPARE(gate.waitingAt(), 0.6);
        QCOMPARE(bounceText(), QStringLiteral("BOUNCING…"));
        QVERIFY(!find("bounceButton")->isEnabled());
        QTRY_VERIFY(overlay->isVisible());
        QCOMPARE(overlay->property("mark").toString(), QStringLiteral("spinner"));
        QCOMPARE(bar->opacity(), 1.0);

        gate.release(1.9);
        QTRY_COMPARE(gate.waitingAt(), 1.9);
        QTRY_VERIFY(!model->statusLine().isEmpty()); // the last change posted before that pause
        QCOMPARE(overlay->property("mark").toString(), QStringLiteral("seal"));
        QTRY_COMPARE(bar->opacity(), 0.0);
        gate.release();
        QTRY_VERIFY(!overlay->isVisible());
        QCOMPARE(bounceText(), QStringLiteral("BOUNCE 0 →"));

        // A file that has gone fails the run: a warning instead of the seal.
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
        QObject* meter = prop(prop(root(), "header"), "meter");
        for (auto [level, lit] : {std::pair{0.0, 1}, {0.14, 3}, {0.5, 9}, {1.0, 16}, {-0.2, 0}}) {
            meter->setProperty("level", level);
            QCOMPARE(litBars(), lit);
        }
    }

    void volumeWarningRemembered()
    {
        QSettings().clear(); // a first launch
        show();
        QObject* sheet = prop(root(), "warning");
        QVERIFY(sheet->property("visible").toBool());
        QTRY_VERIFY(sheet->property("opened").toBool());
        QTest::keyClick(window.get(), Qt::Key_Return); // box unticked: closed for this launch only
        QTRY_VERIFY(!sheet->property("visible").toBool());
        QVERIFY(!QSettings().contains(AppSettings::warnKey));

        show();
        sheet = prop(root(), "warning");
        QTRY_VERIFY(sheet->property("opened").toBool());
        auto* card = sheet->property("contentItem").value<QQuickItem*>();
        click(matching(card, [](QQuickItem* i) { return i->inherits("QQuickCheckBox"); }).value(0));
        QVERIFY(sheet->property("dontShow").toBool());
        click(named(card, "gotItButton"));
        QTRY_VERIFY(!sheet->property("visible").toBool());
        QCOMPARE(QSettings().value(AppSettings::warnKey), QVariant(true));

        show();
        QVERIFY(!prop(root(), "warning")->property("visible").toBool());
    }

    void settingsCard()
    {
        show();
        QCOMPARE(visibleTexts(find("rateSegments")), (QStringList{"44.1", "48", "88.2", "96"}));
        QCOMPARE(visibleTexts(find("depthSegments")), (QStringList{"16", "24", "32"}));
        const QStringList basic{"SAMPLE RATE", "BIT DEPTH", "CHANNELS"}, advanced{"SOURCE FORMAT", "SOURCE RATE"};
        const auto captions = [&] { return visibleTexts(root()).filter(QRegularExpression("^(" + (basic + advanced).join('|') + ")$")); };
        QCOMPARE(captions(), basic);

        QQuickItem* rate96 = withText(find("rateSegments"), "96");
        click(rate96);
        QCOMPARE(model->property("targetRate").toInt(), 96000);
        QVERIFY(rate96->parentItem()->property("selected").toBool());
        click(withText(root(), "ADVANCED INPUT SETTINGS"));
        QCOMPARE(captions(), basic + advanced);
    }
};

QTEST_MAIN(ContentViewTest)
#include "ContentViewTest.moc"
