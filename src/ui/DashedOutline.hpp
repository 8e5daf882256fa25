#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace quorvel {

// A dashed rounded-rectangle outline, stroked inside the item's bounds.
class DashedOutline : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY appearanceChanged)
    Q_PROPERTY(qreal radius MEMBER radius_ NOTIFY appearanceChanged)
    Q_PROPERTY(qreal lineWidth MEMBER lineWidth_ NOTIFY appearanceChanged)
    Q_PROPERTY(qreal dash MEMBER dash_ NOTIFY appearanceChanged)
    Q_PROPERTY(qreal gap MEMBER gap_ NOTIFY appearanceChanged)

public:
    explicit DashedOutline(QQuickItem* parent = nullptr);
    void paint(QPainter* painter) override;

signals:
    void appearanceChanged();

private:
    QColor color_;
    qreal radius_ = 16;
    qreal lineWidth_ = 1.8;
    qreal dash_ = 7;
    qreal gap_ = 6;
};

} // namespace quorvel
