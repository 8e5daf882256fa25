// Scene tests: the app's window on a test model, read back and clicked through as a user would.
#include "model/ConverterModel.hpp"
#include "support/files.hpp"
#include "support/patience.hpp"
#include "support/riff.hpp"
#include "support/signals.hpp"
#include "ui/AppSettings.hpp"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest/quicktest.h>

#include <algorithm>
#include <cmath>
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

QList<QQuickItem*> shown(QQuickItem* root, const QString& name)
{
    return matching(root, [&](QQuickItem* i) { return i->objectName() == name && i->isVisible(); });
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

// The text of the tooltip showing, if any.
QString toolTip(QQuickWindow* window)
{
    for (QQuickItem* popup : matching(window->contentItem(), [](QQuickItem* i) { return i->inherits("QQuickPopupItem") && i->isVisible(); }))
        if (popup->parentItem()->inherits("QQuickOverlay") && popup->width() > 0)
            return visibleTexts(popup).join(' ');
    return {};
}

// WCAG 2 contrast of `text`, seen through `opacity`, on the opaque `behind`.
double contrast(QColor text, double opacity, QColor behind)
{
    const auto luminance = [](QColor c) {
        const auto linear = [](double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
        return 0.2126 * linear(c.redF()) + 0.7152 * linear(c.greenF()) + 0.0722 * linear(c.blueF());
    };
    const double a = text.alphaF() * opacity;
    text.setRgbF(text.redF() * a + behind.redF() * (1 - a), text.greenF() * a + behind.greenF() * (1 - a),
                 text.blueF() * a + behind.blueF() * (1 - a));
    const double l1 = luminance(text), l2 = luminance(behind);
    return (std::max(l1, l2) + 0.05) / (std::min(l1, l2) + 0.05);
}

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
    // The rows on screen; a row the list has taken away but keeps for reuse has no item.
    QList<QQuickItem*> rows()
    {
        QList<QQuickItem*> found = shown(root(), "fileRow");
        found.removeIf([](QQuickItem* row) { return !prop(row, "item"); });
        return found;
    }
    // The row on screen that shows `item`, if any.
    QQuickItem* rowOf(const FileItem* item)
    {
        return matching(root(), [&](QQuickItem* row) { return row->isVisible() && prop(row, "item") == item; }).value(0);
    }
    bool inList(QQuickItem* row)
    {
        QQuickItem* list = find("fileList");
        return list->mapRectToScene(list->boundingRect()).contains(row->mapRectToScene(row->boundingRect()));
    }
    QString heading(const char* section)
    {
        const auto found = shown(root(), section);
        return found.isEmpty() ? QString() : visibleTexts(found[0]).value(0);
    }

    // The app's window as it starts; ContentView completes inside it, so the sheet can open.
    void show(QSize size = {760, 1500}) // every row on screen to click
    {
        QQmlComponent main(engine.get(), QUrl("qrc:/qt/qml/Quorvel/Main.qml"));
        window.reset(qobject_cast<QQuickWindow*>(main.create()));
        QVERIFY2(window, qPrintable(main.errorString()));
        window->resize(size);
        window->requestActivate(); // shortcuts go to the active window
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }

    // Queues files named `names` (missing ones unless `music`) and waits out detection.
    std::vector<FileItem*> queue(const QStringList& names, bool music = false)
    {
        const auto tone = test::stereoTake();
        QList<QUrl> urls;
        for (const QString& name : names)
            urls << QUrl::fromLocalFile(QString::fromStdString((music ? dir.write(name.toStdString(), tone) : dir / name.toStdString()).string()));
        model->addURLs(urls);
        const auto& q = model->queue();
        if (!QTest::qWaitFor([&] { return !model->takingIn() && std::none_of(q.begin(), q.end(), [](auto& i) { return i->confidence() == "…"; }); }))
            QTest::qFail("intake or detection did not finish", __FILE__, __LINE__);
        QQuickTest::qWaitForPolish(window.get());
        std::vector<FileItem*> items;
        for (const FileItemPtr& item : q)
            items.push_back(item.get());
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

    // A row's menu, made as it first opens: clicked open, once it shows; null if it does not.
    QObject* openMenu(QQuickItem* face)
    {
        click(face);
        QObject* menu = nullptr;
        const bool opened = QTest::qWaitFor([&] { return (menu = prop(face, "menu")) && menu->property("opened").toBool(); });
        return opened ? menu : nullptr;
    }

    // Runs the queue to its closing pause, where the overlay shows the summary.
    void runToSummary()
    {
        gate.hold(1.9);
        model->convertAll();
        QTRY_COMPARE(gate.waitingAt(), 1.9);
        QTRY_VERIFY(!model->statusLine().isEmpty()); // the last change posted before that pause
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
        model->setSourceFormatChoice(SourceFormatChoice::automatic());
        std::filesystem::remove_all(dir / "_sd2_outputs");
    }
    void cleanupTestCase() { engine.reset(); }

    // One list, two sections: each row under its section's heading, with its state's controls.
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
        QTRY_COMPARE(heading("benchHeader"), QStringLiteral("QUEUE · 4"));
        QTRY_COMPARE(heading("completedHeader"), QStringLiteral("COMPLETED · 1"));

        const qreal completedAt = shown(root(), "completedHeader").value(0)->mapToScene({0, 0}).y();
        QTRY_COMPARE(rows().size(), 5);
        for (QQuickItem* row : rows()) {
            const auto at = std::find(q.begin(), q.end(), prop(row, "item")) - q.begin();
            QCOMPARE(row->mapToScene({0, 0}).y() > completedAt, std::get<0>(cases[at]) == FileItem::done);
            const QStringList controls{"listenHint", "overrideMenu", "play", "requeueButton", "remove"};
            QStringList visible;
            for (QQuickItem* control : matching(row, [&](QQuickItem* i) { return i->isVisible() && controls.contains(i->objectName()); }))
                visible << control->objectName();
            QCOMPARE(visible, std::get<2>(cases[at]));
        }

        q[2]->setState(FileItem::ready);
        QTRY_VERIFY(shown(root(), "completedHeader").isEmpty());
        for (FileItem* item : q)
            item->setState(FileItem::done);
        QTRY_VERIFY(shown(root(), "benchHeader").isEmpty());
        QCOMPARE(heading("completedHeader"), QStringLiteral("COMPLETED · 5"));
    }

    // The menu ticks the current choice, shows every entry whole, and the row's picture
    // follows the choice; a pair's menu splits it into its halves, whose menus join them again.
    void overrideMenu()
    {
        show();
        const auto q = queue({"mono.sd2", "stereo.sd2"}, true);
        q[0]->setDetectedChannels(1);
        const auto menus = shown(root(), "overrideMenu");
        QCOMPARE(menus.size(), 2);
        for (const auto& [face, menu] : {std::pair{QString("Auto (Mono)"), menus[0]}, {QString("Auto (Stereo)"), menus[1]}}) {
            QCOMPARE(named(menu, "overrideText")->property("text").toString(), face);
            QObject* choices = openMenu(menu);
            QVERIFY(choices);
            QStringList labels, ticked;
            for (int i = 0; i < choices->property("count").toInt(); ++i) {
                QQuickItem* entry = itemAt(choices, i);
                labels << entry->property("text").toString();
                if (entry->property("checked").toBool())
                    ticked << labels.back();
                QVERIFY(choices->property("width").toReal() >= entry->implicitWidth());
            }
            QCOMPARE(labels, (QStringList{face, "Mono", "Stereo"}));
            QCOMPARE(ticked, QStringList{face});
            QTest::keyClick(window.get(), Qt::Key_Escape);
            QTRY_VERIFY(!choices->property("visible").toBool());
        }

        QQuickItem* wave = named(menus[1]->parentItem()->parentItem(), "waveform");
        QCOMPARE(wave->property("lanes").toInt(), 2);
        QObject* choices = openMenu(menus[1]);
        QVERIFY(choices);
        click(itemAt(choices, 1));
        QCOMPARE(q[1]->overrideChoice(), ChannelOverride::mono);
        QCOMPARE(q[0]->overrideChoice(), ChannelOverride::automatic);
        QCOMPARE(named(menus[1], "overrideText")->property("text").toString(), QStringLiteral("Mono"));
        QVERIFY(itemAt(choices, 1)->property("checked").toBool());
        QCOMPARE(wave->property("lanes").toInt(), 1);

        model->clear();
        QCOMPARE(queue({"Gtr.L.sd2", "Gtr.R.sd2"}, true).size(), 1u);
        for (const QString& action : QStringList{"Split into L and R", "Join L and R"}) {
            QObject* choices = openMenu(named(rows().value(0), "overrideMenu"));
            QVERIFY(choices);
            QQuickItem* last = itemAt(choices, choices->property("count").toInt() - 1);
            QCOMPARE(last->property("text").toString(), action);
            click(last);
            QTRY_COMPARE(rows().size(), action.startsWith("Split") ? 2 : 1);
        }
        QCOMPARE(named(rows()[0], "overrideText")->property("text").toString(), QStringLiteral("Stereo (L + R)"));
        QCOMPARE(model->queue()[0]->halves(), QStringLiteral("Gtr.L.sd2 + Gtr.R.sd2"));
    }

    // The footer, meter and overlay through real runs, held at the first and the closing pause;
    // then the meter's lit bars at each level.
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

        QObject* meter = prop(prop(root(), "header"), "meter");
        for (auto [level, lit] : {std::pair{0.0, 1}, {0.14, 3}, {0.5, 9}, {1.0, 16}, {-0.2, 0}}) {
            meter->setProperty("level", level);
            QCOMPARE(litBars(), lit);
        }
    }

    // At the size the window takes on a 1920 × 1080 screen, the folded deck leaves room for
    // at least five rows. After a run with failures the overlay shows a warning instead of the
    // seal, and the list brings the first failed row into view and marks it.
    void queueInView()
    {
        show();
        QVariant size;
        QVERIFY(QMetaObject::invokeMethod(window.get(), "defaultSize", Q_RETURN_ARG(QVariant, size), Q_ARG(QVariant, QSizeF(1920, 1080))));
        window->resize(size.toSizeF().toSize());
        QQuickItem* zone = find("dropZone");
        QCOMPARE(zone->height(), 176.0);
        QStringList names;
        for (int i = 1; i <= 12; ++i)
            names << QStringLiteral("take %1.sd2").arg(i);
        queue(names, true);
        queue({"zz gone.sd2"});
        QCOMPARE(zone->height(), 52.0); // folded, still taking drops and offering Browse…
        QVERIFY(named(zone, "browseButton")->isVisible());
        const auto onScreen = rows();
        const auto whole = std::count_if(onScreen.begin(), onScreen.end(), [&](QQuickItem* row) { return inList(row); });
        QVERIFY2(whole >= 5, qPrintable(QString::number(whole)));

        window->resize(760, 700);
        runToSummary();
        QCOMPARE(find("progressOverlay")->property("mark").toString(), QStringLiteral("warning"));
        QMetaObject::invokeMethod(find("fileList"), "positionViewAtEnd");
        gate.release();
        QTRY_VERIFY(!model->isConverting());
        QQuickItem* failed = nullptr;
        QTRY_VERIFY((failed = rowOf(model->queue().back().get())));
        QVERIFY(inList(failed));
        QVERIFY(failed->property("flashing").toBool());
        QCOMPARE(heading("benchHeader"), QStringLiteral("QUEUE · 1")); // headings the list reused as rows moved
        QCOMPARE(heading("completedHeader"), QStringLiteral("COMPLETED · 12"));
        QTRY_VERIFY_WITH_TIMEOUT(!failed->property("flashing").toBool(), 3000);
    }

    // Every text on the panel, the sheets, the overlay and the flare buttons reads at 4.5:1 or more.
    void everyTextIsLegible()
    {
        settings->setHideVolumeWarning(false);
        show({760, 1200});
        queue({"a.sd2", "gone.sd2"}, true);
        dir.write("S/b.sd2", test::encode(test::sine(44100, 40, 9000), SourceFormat::s16be));
        queue({"S"}); // a row with its folder line
        model->setShowAdvanced(true);
        runToSummary();
        QMetaObject::invokeMethod(prop(root(), "stopSheet"), "open");
        QQuickItem* overlay = find("progressOverlay");
        QTRY_VERIFY(overlay->opacity() == 1.0);
        const QColor panel = QColor::fromRgbF(0.906f, 0.89f, 0.847f), amber = QColor::fromRgbF(0.91f, 0.631f, 0.235f),
                     amber2 = QColor::fromRgbF(0.878f, 0.451f, 0.196f), onFlare = QColor::fromRgbF(0.16f, 0.12f, 0.08f);
        // Texts under `under` but outside `skip`, as "text: ratio" where it falls short.
        int texts = 0;
        const auto illegible = [&](QQuickItem* under, QQuickItem* skip) {
            QStringList failing;
            for (QQuickItem* text : matching(under, [](QQuickItem* i) { return i->inherits("QQuickText") && i->isVisible(); })) {
                if (text->property("font").value<QFont>().family() == "Material Icons" || !text->isEnabled() ||
                    (skip && skip->isAncestorOf(text)))
                    continue;
                double opacity = 1;
                for (QQuickItem* i = text; i; i = i->parentItem())
                    opacity *= i->opacity();
                const QColor colour = text->property("color").value<QColor>();
                for (const QColor& behind : colour == onFlare ? QList{amber, amber2} : QList{panel})
                    if (contrast(colour, opacity, behind) < 4.5)
                        failing << text->property("text").toString() + QString(": %1").arg(contrast(colour, opacity, behind));
                ++texts;
            }
            return failing;
        };
        // The overlay's card and the two sheets (outside the view), then the window as the overlay leaves it.
        QCOMPARE(illegible(overlay, nullptr) + illegible(window->contentItem(), root()), QStringList());
        gate.release();
        QTRY_VERIFY(!overlay->isVisible());
        QMetaObject::invokeMethod(prop(root(), "stopSheet"), "close");
        QMetaObject::invokeMethod(prop(root(), "warning"), "close");
        QCOMPARE(illegible(root(), overlay), QStringList());
        QVERIFY2(texts >= 30, qPrintable(QString::number(texts)));
    }

    // Tab goes through the controls in reading order, each showing its focus ring; icon
    // buttons, cut texts and a pair's name explain themselves on hover; the settings card's
    // segments set the model, and its disclosure shows the advanced settings.
    void settingsCardKeyboardAndTooltips()
    {
        show({700, 1200});
        auto q = queue({"Gtr.L.sd2", "Gtr.R.sd2", "x.sd2"}, true);
        q[1]->setStatus("Reads as static — try another source format in Advanced (too short to hold audio)");
        q[1]->setState(FileItem::failed);
        q[1]->setConfidence("verify by ear");
        QStringList order;
        for (int i = 0; i < 17; ++i) {
            QTest::keyClick(window.get(), Qt::Key_Tab);
            QQuickItem* focused = window->activeFocusItem();
            QString name;
            for (QQuickItem* i = focused; i && name.isEmpty(); i = i->parentItem())
                name = i->objectName();
            order << name;
            const auto rings = matching(focused, [](QQuickItem* i) { return i->property("shown").toBool() && i->isVisible(); });
            QVERIFY2(!rings.isEmpty(), qPrintable(name + " shows no focus ring"));
        }
        QCOMPARE(order, (QStringList{"browseButton", "rateSegments", "depthSegments", "channelsSelect", "normalizeLoudness",
                                     "advancedDisclosure", "clearButton", "overrideMenu", "play", "remove", "overrideMenu",
                                     "play", "requeueButton", "remove", "destinationButton", "bounceButton", "browseButton"}));

        const std::tuple<int, const char*, QString> tips[] = {
            {0, "fileName", "Gtr.L.sd2 + Gtr.R.sd2"},
            {1, "status", q[1]->status()},
            {1, "listenHint", "Mono or stereo? Too close to call — give it a listen."},
            {1, "play", "Audition the first four seconds"},
            {1, "requeueButton", "Back in the queue"},
            {1, "remove", "Remove from the list"}};
        for (const auto& [row, name, tip] : tips) {
            QQuickItem* item = named(rows().value(row), name);
            QTest::mouseMove(window.get(), item->mapToScene(item->boundingRect().center()).toPoint());
            QTRY_COMPARE(toolTip(window.get()), tip);
        }
        QCOMPARE(find("dropZone")->findChild<QObject*>("folderDialog")->property("title").toString(),
                 QStringLiteral("Choose a folder of .sd2 files"));

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

    // Closing while files are written asks; Return keeps bouncing; Stop drops the file being
    // written, starts no other, keeps those bounced, and quits.
    void closingDuringABounceAsksToStop()
    {
        show();
        const auto q = queue({"a.sd2", "b.sd2", "c.sd2"}, true);
        QSignalSpy quit(engine.get(), &QQmlEngine::quit);
        QObject* sheet = prop(root(), "stopSheet");
        gate.hold(0.7); // each file's analysis pause
        model->convertAll();
        QTRY_COMPARE(gate.waitingAt(), 0.7);
        gate.release(0.7); // a is bounced; b waits, analysed, just before it is written
        QTRY_COMPARE(gate.waitingAt(), 0.7);

        QVERIFY(!window->close());
        QTRY_VERIFY(sheet->property("opened").toBool());
        QTest::keyClick(window.get(), Qt::Key_Return);
        QTRY_VERIFY(!sheet->property("visible").toBool());
        QVERIFY(window->isVisible() && model->isConverting() && quit.isEmpty());

        QVERIFY(!window->close());
        QTRY_VERIFY(sheet->property("opened").toBool());
        click(named(sheet->property("contentItem").value<QQuickItem*>(), "stopButton"));
        QCOMPARE(quit.size(), 1);
        QVERIFY(window->close()); // quitting closes the window without asking again
        gate.release();
        QTRY_VERIFY(!model->isConverting());
        QCOMPARE(test::tree(dir / "_sd2_outputs"), std::set<std::string>{"a_48kHz_24bit_stereo.wav"});
        QCOMPARE(q[0]->state(), FileItem::done);
        QCOMPARE(q[2]->state(), FileItem::ready);
    }

    void volumeWarningRemembered()
    {
        QSettings().clear(); // a first launch
        show();
        QObject* sheet = prop(root(), "warning");
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

    // Two sessions' files of one name: each row says which session, dimmed, with the whole
    // path on hover; the advanced section's toggle keeps that structure in the output.
    void rowsFromTwoSessions()
    {
        show();
        const auto tone = test::stereoTake();
        QStringList paths;
        for (const char* file : {"A/PT Session 10/Audio Files/Vox_07.sd2", "A/PT Session 2/Audio Files/Vox_07.sd2", "Loose.sd2"})
            paths << QString::fromStdString(dir.write(file, tone).string());
        const auto q = queue({"A", "Loose.sd2"});
        QCOMPARE(q.size(), 3u);

        const std::tuple<QString, QString, QString> shown[] = {{"Vox_07.sd2", "PT Session 2 › Audio Files", paths[1]},
                                                               {"Vox_07.sd2", "PT Session 10 › Audio Files", paths[0]},
                                                               {"Loose.sd2", "", ""}};
        qreal above = -1;
        for (int i = 0; i < 3; ++i) {
            QQuickItem* row = rowOf(q[i]);
            QVERIFY(row);
            QVERIFY(row->mapToScene({0, 0}).y() > above); // in queue order down the list
            above = row->mapToScene({0, 0}).y();
            QQuickItem* line = named(row, "folderLine");
            QVERIFY(visibleTexts(row).contains(std::get<0>(shown[i])));
            QCOMPARE(line->isVisible(), !std::get<1>(shown[i]).isEmpty());
            QCOMPARE(line->property("text").toString(), std::get<1>(shown[i]));
            QCOMPARE(line->property("font"), named(row, "status")->property("font"));
            if (line->isVisible()) {
                QTest::mouseMove(window.get(), line->mapToScene(line->boundingRect().center()).toPoint());
                QTRY_COMPARE(toolTip(window.get()), std::get<2>(shown[i]));
            }
        }

        model->setShowAdvanced(true);
        click(matching(find("keepFolderStructure"), [](QQuickItem* i) { return i->activeFocusOnTab(); }).value(0));
        QVERIFY(model->keepFolderStructure());
        model->convertAll();
        QTRY_VERIFY(!model->isConverting());
        for (const char* output : {"_sd2_outputs/Loose_48kHz_24bit_stereo.wav",
                                   "_sd2_outputs/A/PT Session 2/Audio Files/Vox_07_48kHz_24bit_stereo.wav",
                                   "_sd2_outputs/A/PT Session 10/Audio Files/Vox_07_48kHz_24bit_stereo.wav"})
            QVERIFY2(std::filesystem::exists(dir / output), output);
        // Broadcast WAV unless "Plain WAV" is on.
        QVERIFY(test::chunksOf(dir / "_sd2_outputs/Loose_48kHz_24bit_stereo.wav").contains("bext"));
        QQuickItem* plain = matching(find("plainWav"), [](QQuickItem* i) { return i->activeFocusOnTab(); }).value(0);
        QVERIFY(plain);
        plain->forceActiveFocus(Qt::TabFocusReason);
        QTest::keyClick(window.get(), Qt::Key_Space);
        QVERIFY(model->plainWav());
        queue({"Plain.sd2"}, true);
        model->convertAll();
        QTRY_VERIFY(!model->isConverting());
        QCOMPARE(test::chunksOf(dir / "_sd2_outputs/Plain_48kHz_24bit_stereo.wav")["order"], std::string("fmt data"));
        model->setPlainWav(false);
        model->setKeepFolderStructure(false);
    }
};

QTEST_MAIN(ContentViewTest)
#include "ContentViewTest.moc"
