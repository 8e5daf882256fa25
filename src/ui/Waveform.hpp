#pragma once

#include "model/FileItem.hpp"

#include <QColor>
#include <QPointer>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace quorvel {

// A row's picture of its file as it is currently read: the windows detection scored, peak
// and RMS per column, one lane for mono, left above right for stereo. It redraws whenever
// the reading changes: a new detection, another source format, an auto-correction, a
// mono/stereo override.
class Waveform : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject* item READ item WRITE setItem NOTIFY readingChanged) // a FileItem
    // The model's source-format choice, as its id ("auto", "s16be" …).
    Q_PROPERTY(QString choice READ choice WRITE setChoice NOTIFY readingChanged)
    Q_PROPERTY(QColor peakColor MEMBER peakColor_ NOTIFY appearanceChanged)
    Q_PROPERTY(QColor rmsColor MEMBER rmsColor_ NOTIFY appearanceChanged)
    // Lanes drawn: 0 before detection, 1 for mono, 2 for stereo.
    Q_PROPERTY(int lanes READ lanes NOTIFY readingChanged)

public:
    explicit Waveform(QQuickItem* parent = nullptr);
    void paint(QPainter* painter) override;

    QObject* item() const { return item_; }
    void setItem(QObject* item);
    QString choice() const { return choice_; }
    void setChoice(const QString& choice);
    int lanes() const { return static_cast<int>(lanes_.size()); }

signals:
    void readingChanged();
    void appearanceChanged();

private:
    void reread();

    QPointer<FileItem> item_;
    QString choice_ = QStringLiteral("auto");
    std::vector<WindowSketch::Lane> lanes_;
    QColor peakColor_, rmsColor_;
};

} // namespace quorvel
