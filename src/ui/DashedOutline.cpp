#include "ui/DashedOutline.hpp"

#include <QPainter>
#include <QPen>

namespace quorvel {

DashedOutline::DashedOutline(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    connect(this, &DashedOutline::appearanceChanged, this, [this] { update(); });
}

void DashedOutline::paint(QPainter* painter)
{
    QPen pen(color_, lineWidth_);
    pen.setDashPattern({dash_ / lineWidth_, gap_ / lineWidth_}); // Qt counts dashes in line widths
    pen.setMiterLimit(10);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(pen);
    const qreal half = lineWidth_ / 2;
    painter->drawRoundedRect(QRectF(half, half, width() - lineWidth_, height() - lineWidth_), radius_, radius_);
}

} // namespace quorvel
