#include "app/SingleInstance.hpp"
#include "app/quorvelUsage.hpp"
#include "core/io/guardedRead.hpp"
#include "core/io/standardDescriptors.hpp"
#include "model/ConverterModel.hpp"
#include "ui/AppSettings.hpp"
#include "ui/window.hpp"

#include <QFileInfo>
#include <QFileOpenEvent>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(QuorvelPlugin)

namespace {

QList<QUrl> urlsOf(const QStringList& paths)
{
    QList<QUrl> urls;
    for (const QString& path : paths)
        urls << QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    return urls;
}

// Files opened with the app on macOS arrive as events rather than arguments.
class FileOpenFilter : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::FileOpen) {
            quorvel::ConverterModel::shared().addURLs({static_cast<QFileOpenEvent*>(event)->url()});
            return true;
        }
        return QObject::eventFilter(watched, event);
    }
};

void raise(QQmlApplicationEngine& engine)
{
    for (QObject* root : engine.rootObjects())
        if (auto* window = qobject_cast<QQuickWindow*>(root)) {
            window->show();
            window->raise();
            window->requestActivate();
        }
}

} // namespace

int main(int argc, char* argv[])
{
    quorvel::openClosedStandardDescriptors();
    if (const auto status = quorvel::printHelpOrVersion(argc, argv))
        return *status;
    quorvel::reportFileSizeLimitAsError();
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName("Quorvel");
    QGuiApplication::setOrganizationName("Quorvel");
    QGuiApplication::setApplicationDisplayName("SD2 Quorvel");
    QGuiApplication::setDesktopFileName("quorvel");

    const QStringList paths = QGuiApplication::arguments().mid(1);
    const quorvel::UserId user = quorvel::currentUser();
    quorvel::SingleInstance instance(quorvel::handOverSocketPath(user), user);
    if (instance.handOver(paths))
        return 0;

    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    quorvel::ConverterModel& model = quorvel::ConverterModel::shared();
    quorvel::AppSettings settings;
    QQmlApplicationEngine engine;
    if (!quorvel::openWindow(engine, model, settings))
        return 1;

    FileOpenFilter fileOpen;
    app.installEventFilter(&fileOpen);
    instance.listen([&](const QStringList& more) {
        model.addURLs(urlsOf(more));
        raise(engine);
    });
    model.addURLs(urlsOf(paths));
    return app.exec();
}
