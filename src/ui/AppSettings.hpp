#pragma once

#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace quorvel {

// What the window keeps outside the model: the one stored preference and the optional
// bundled logo.
class AppSettings : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool hideVolumeWarning READ hideVolumeWarning WRITE setHideVolumeWarning NOTIFY hideVolumeWarningChanged)
    Q_PROPERTY(QUrl logo READ logo CONSTANT)

public:
    static constexpr const char* warnKey = "hideVolumeWarning_v1";

    explicit AppSettings(QObject* parent = nullptr);

    bool hideVolumeWarning() const;
    void setHideVolumeWarning(bool hide);
    // "logo.png" beside the program or in its share folder; empty when there is none.
    QUrl logo() const { return logo_; }

signals:
    void hideVolumeWarningChanged();

private:
    QUrl logo_;
};

} // namespace quorvel
