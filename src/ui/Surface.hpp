#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace quorvel {

// The window's raised and pressed-in surfaces: a rounded shape with soft shadows, painted
// with QPainter so it looks the same under the OpenGL and the software renderer (shader
// effects vanish without OpenGL).
//
// Raised: the shape filled with `color`, a dark shadow `shadowOffset` down-right and a
// light one up-left, blurred by `shadowRadius`. The shadows spill outside the shape, so the
// item is made `spill` larger on every side than the shape it draws.
// Inset: the shape filled with `color`, shaded dark along its top-left edges and light along
// its bottom-right edges, as if pressed into the panel; nothing spills.
class Surface : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool inset MEMBER inset_ NOTIFY appearanceChanged)
    Q_PROPERTY(qreal radius MEMBER radius_ NOTIFY appearanceChanged)
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY appearanceChanged)
    Q_PROPERTY(QColor darkShade MEMBER dark_ NOTIFY appearanceChanged)
    Q_PROPERTY(QColor lightShade MEMBER light_ NOTIFY appearanceChanged)
    Q_PROPERTY(qreal shadowRadius MEMBER shadowRadius_ NOTIFY appearanceChanged)
    Q_PROPERTY(qreal shadowOffset MEMBER shadowOffset_ NOTIFY appearanceChanged)
    Q_PROPERTY(qreal spill READ spill NOTIFY appearanceChanged)

public:
    explicit Surface(QQuickItem* parent = nullptr);
    void paint(QPainter* painter) override;
    qreal spill() const { return inset_ ? 0 : 2 * shadowRadius_ + shadowOffset_; }

signals:
    void appearanceChanged();

private:
    void paintRaised(QPainter* painter, const QRectF& shape);
    void paintInset(QPainter* painter, const QRectF& shape);

    bool inset_ = false;
    qreal radius_ = 12;
    QColor color_{231, 227, 216};
    QColor dark_{201, 196, 182};
    QColor light_{251, 247, 236};
    qreal shadowRadius_ = 7;
    qreal shadowOffset_ = 4;
};

} // namespace quorvel
