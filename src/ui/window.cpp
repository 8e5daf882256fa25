#include "ui/window.hpp"
#include "model/ConverterModel.hpp"
#include "ui/AppSettings.hpp"

#include <QFontDatabase>

namespace quorvel {

QQuickWindow* openWindow(QQmlApplicationEngine& engine, ConverterModel& model, AppSettings& settings)
{
    QFontDatabase::addApplicationFont(QStringLiteral(QUORVEL_ICON_FONT));
    qmlRegisterSingletonInstance("Quorvel", 1, 0, "Model", &model);
    qmlRegisterSingletonInstance("Quorvel", 1, 0, "Settings", &settings);
    engine.load(QUrl("qrc:/qt/qml/Quorvel/Main.qml"));
    return qobject_cast<QQuickWindow*>(engine.rootObjects().value(0));
}

} // namespace quorvel
