#include "ui/AppSettings.hpp"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QSettings>

namespace quorvel {

AppSettings::AppSettings(QObject* parent) : QObject(parent)
{
    const QDir bin(QCoreApplication::applicationDirPath());
    for (const QString& candidate : {bin.filePath("logo.png"), bin.filePath("../share/quorvel/logo.png")}) {
        // Only a file that loads as an image counts; anything else gets the drawn logo.
        if (QFileInfo::exists(candidate) && !QImage(candidate).isNull()) {
            logo_ = QUrl::fromLocalFile(QFileInfo(candidate).absoluteFilePath());
            break;
        }
    }
}

bool AppSettings::hideVolumeWarning() const { return QSettings().value(warnKey, false).toBool(); }

void AppSettings::setHideVolumeWarning(bool hide)
{
    if (hide == hideVolumeWarning())
        return;
    QSettings().setValue(warnKey, hide);
    emit hideVolumeWarningChanged();
}

} // namespace quorvel
