#pragma once

#include <QObject>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace quorvel {

// Tab moves through items in the order of their parent's children. A list makes its rows
// and section headings in whatever order they scroll into view; this puts them back in
// reading order, top to bottom.
class ReadingOrder : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    Q_INVOKABLE static void restack(QQuickItem* parent);
};

} // namespace quorvel
