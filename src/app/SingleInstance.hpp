#pragma once

#include "app/handOverSocket.hpp"

#include <QLocalServer>
#include <QObject>
#include <QStringList>

#include <functional>
#include <optional>

namespace quorvel {

// One window per user: a later launch hands its paths to the running one and exits, as a
// file manager's "Open With" on an open app expects. Both ends check that the other is
// `user` before anything is sent or taken: a socket someone else holds means a window of
// one's own, and a stranger's connection is closed unread.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    // `socket` is where the hand-over happens (handOverSocketPath); without one, every
    // launch keeps to itself.
    SingleInstance(std::optional<std::string> socket, UserId user, QObject* parent = nullptr);

    // True when another instance took the paths; this process should then exit.
    bool handOver(const QStringList& paths) const;
    // Becomes the running instance; `received` gets every later launch's paths.
    void listen(std::function<void(const QStringList&)> received);

private:
    std::optional<QString> socket_;
    UserId user_;
    QLocalServer server_;
};

} // namespace quorvel
