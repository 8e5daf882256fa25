#include "ui/ReadingOrder.hpp"

#include <algorithm>

namespace quorvel {

void ReadingOrder::restack(QQuickItem* parent)
{
    if (!parent)
        return;
    QList<QQuickItem*> items = parent->childItems();
    std::stable_sort(items.begin(), items.end(), [](QQuickItem* a, QQuickItem* b) { return a->y() < b->y(); });
    for (qsizetype i = 1; i < items.size(); ++i)
        items[i]->stackAfter(items[i - 1]);
}

} // namespace quorvel
