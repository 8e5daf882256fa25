#include "ui/Surface.hpp"

#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <vector>

namespace quorvel {

namespace {

// One pass of a box blur along rows (or columns) of premultiplied ARGB, in place.
void boxBlurPass(QImage& image, int radius, bool alongRows)
{
    const int w = image.width(), h = image.height();
    const int lines = alongRows ? h : w, length = alongRows ? w : h;
    const auto stride = image.bytesPerLine() / 4;
    auto* pixels = reinterpret_cast<QRgb*>(image.bits());
    std::vector<QRgb> line(static_cast<std::size_t>(length));
    const int window = 2 * radius + 1;
    for (int l = 0; l < lines; ++l) {
        const auto at = [&](int i) -> QRgb& { return alongRows ? pixels[l * stride + i] : pixels[i * stride + l]; };
        for (int i = 0; i < length; ++i)
            line[static_cast<std::size_t>(i)] = at(i);
        int sum[4] = {0, 0, 0, 0};
        const auto add = [&](int i, int sign) {
            if (i < 0 || i >= length)
                return;
            const QRgb p = line[static_cast<std::size_t>(i)];
            sum[0] += sign * qAlpha(p);
            sum[1] += sign * qRed(p);
            sum[2] += sign * qGreen(p);
            sum[3] += sign * qBlue(p);
        };
        for (int i = -radius; i <= radius; ++i)
            add(i, 1);
        for (int i = 0; i < length; ++i) {
            at(i) = qRgba(sum[1] / window, sum[2] / window, sum[3] / window, sum[0] / window);
            add(i - radius, -1);
            add(i + radius + 1, 1);
        }
    }
}

// Three box passes each way approximate a Gaussian of about `blur` / 2 standard deviation,
// which is how a shadow radius reads.
void blur(QImage& image, qreal blurRadius)
{
    const int box = std::max(1, static_cast<int>(std::lround(blurRadius / 2)));
    for (int pass = 0; pass < 3; ++pass) {
        boxBlurPass(image, box, true);
        boxBlurPass(image, box, false);
    }
}

QPainterPath rounded(const QRectF& rect, qreal radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

} // namespace

Surface::Surface(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    connect(this, &Surface::appearanceChanged, this, [this] { update(); });
}

void Surface::paint(QPainter* painter)
{
    const qreal m = spill();
    const QRectF shape = QRectF(0, 0, width(), height()).adjusted(m, m, -m, -m);
    if (shape.width() <= 0 || shape.height() <= 0)
        return;
    painter->setRenderHint(QPainter::Antialiasing);
    if (inset_)
        paintInset(painter, shape);
    else
        paintRaised(painter, shape);
}

void Surface::paintRaised(QPainter* painter, const QRectF& shape)
{
    const QSize size(static_cast<int>(std::ceil(width())), static_cast<int>(std::ceil(height())));
    for (const auto& [colour, offset] : {std::pair{dark_, shadowOffset_}, std::pair{light_, -shadowOffset_}}) {
        QImage shadow(size, QImage::Format_ARGB32_Premultiplied);
        shadow.fill(Qt::transparent);
        {
            QPainter p(&shadow);
            p.setRenderHint(QPainter::Antialiasing);
            p.fillPath(rounded(shape.translated(offset, offset), radius_), colour);
        }
        blur(shadow, shadowRadius_);
        painter->drawImage(0, 0, shadow);
    }
    painter->fillPath(rounded(shape, radius_), color_);
}

void Surface::paintInset(QPainter* painter, const QRectF& shape)
{
    const QPainterPath outline = rounded(shape, radius_);
    painter->setClipPath(outline);
    painter->fillPath(outline, color_);

    const QSize size(static_cast<int>(std::ceil(width())), static_cast<int>(std::ceil(height())));
    const QPointF centre = shape.center();
    // Dark along the top and left, fading out by the centre; light along the bottom and right.
    const struct {
        QColor colour;
        QPointF from, to;
    } shades[] = {{dark_, shape.topLeft(), centre}, {light_, shape.bottomRight(), centre}};
    for (const auto& shade : shades) {
        QImage edge(size, QImage::Format_ARGB32_Premultiplied);
        edge.fill(Qt::transparent);
        {
            QPainter p(&edge);
            p.setRenderHint(QPainter::Antialiasing);
            p.setPen(QPen(shade.colour, 3));
            p.drawPath(outline);
        }
        blur(edge, 3);
        {
            QPainter p(&edge);
            p.setCompositionMode(QPainter::CompositionMode_DestinationIn);
            QLinearGradient mask(shade.from, shade.to);
            mask.setColorAt(0, Qt::black);
            mask.setColorAt(1, Qt::transparent);
            p.fillRect(edge.rect(), mask);
        }
        painter->drawImage(0, 0, edge);
    }
}

} // namespace quorvel
