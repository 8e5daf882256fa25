#include "ui/Waveform.hpp"

#include <QPainter>

#include <cmath>

namespace quorvel {

Waveform::Waveform(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    connect(this, &Waveform::appearanceChanged, this, [this] { update(); });
}

void Waveform::setItem(QObject* object)
{
    auto* item = qobject_cast<FileItem*>(object);
    if (item_ == item)
        return;
    if (item_)
        disconnect(item_, nullptr, this, nullptr);
    item_ = item;
    if (item_)
        for (auto signal : {&FileItem::sketchesChanged, &FileItem::detectedFormatChanged,
                            &FileItem::detectedChannelsChanged, &FileItem::overrideChoiceChanged})
            connect(item_, signal, this, &Waveform::reread);
    reread();
}

void Waveform::setChoice(const QString& choice)
{
    if (choice_ == choice)
        return;
    choice_ = choice;
    reread();
}

void Waveform::reread()
{
    const auto choice = SourceFormatChoice::fromId(choice_.toStdString());
    lanes_ = item_ && choice ? item_->readingLanes(*choice) : std::vector<WindowSketch::Lane>{};
    emit readingChanged();
    update();
}

void Waveform::paint(QPainter* painter)
{
    if (lanes_.empty())
        return;
    // The four windows side by side, a hair apart: they are glimpses, not the whole file.
    constexpr int kGap = 2;
    constexpr int kWindows = WindowSketch::kColumns / WindowSketch::kColumnsPerWindow;
    const qreal column = (width() - kGap * (kWindows - 1)) / WindowSketch::kColumns;
    const qreal laneHeight = height() / static_cast<qreal>(lanes_.size());
    for (std::size_t l = 0; l < lanes_.size(); ++l) {
        const qreal middle = laneHeight * (static_cast<qreal>(l) + 0.5);
        for (int c = 0; c < WindowSketch::kColumns; ++c) {
            const qreal x = c * column + (c / WindowSketch::kColumnsPerWindow) * kGap;
            // On a square-root scale, so quiet passages still show their shape beside a
            // wrong reading's full-scale noise.
            const auto bar = [&](std::uint8_t level, const QColor& color) {
                const qreal half = std::max<qreal>(0.5, laneHeight / 2 * std::sqrt(level / 255.0));
                painter->fillRect(QRectF(x, middle - half, column, 2 * half), color);
            };
            bar(lanes_[l].peak[static_cast<std::size_t>(c)], peakColor_);
            bar(lanes_[l].rms[static_cast<std::size_t>(c)], rmsColor_);
        }
    }
}

} // namespace quorvel
