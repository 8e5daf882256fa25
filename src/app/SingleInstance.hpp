#pragma once

#include <QLocalServer>
#include <QObject>
#include <QStringList>

#include <functional>

namespace quorvel {

// One window per user: a later launch hands its paths to the running one and exits, as a
// file manager's "Open With" on an open app expects.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    explicit SingleInstance(const QString& name, QObject* parent = nullptr);

    // True when another instance took the paths; this process should then exit.
    bool handOver(const QStringList& paths) const;
    // Becomes the running instance; `received` gets every later launch's paths.
    void listen(std::function<void(const QStringList&)> received);

private:
    QString name_;
    QLocalServer server_;
};

} // namespace quorvel
