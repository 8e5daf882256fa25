#include "app/SingleInstance.hpp"

#include <QDataStream>
#include <QLocalSocket>

namespace quorvel {

namespace {
constexpr int kTimeoutMs = 1500;
}

SingleInstance::SingleInstance(const QString& name, QObject* parent) : QObject(parent), name_(name) {}

bool SingleInstance::handOver(const QStringList& paths) const
{
    QLocalSocket socket;
    socket.connectToServer(name_);
    if (!socket.waitForConnected(kTimeoutMs))
        return false;
    QByteArray message;
    QDataStream out(&message, QIODevice::WriteOnly);
    out << paths;
    socket.write(message);
    socket.waitForBytesWritten(kTimeoutMs);
    // Wait for the running instance to close the connection: then it has the paths.
    socket.waitForDisconnected(kTimeoutMs);
    return true;
}

void SingleInstance::listen(std::function<void(const QStringList&)> received)
{
    // A server socket left by a crashed instance would block the name.
    QLocalServer::removeServer(name_);
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    server_.listen(name_);
    connect(&server_, &QLocalServer::newConnection, this, [this, received = std::move(received)] {
        while (QLocalSocket* socket = server_.nextPendingConnection()) {
            connect(socket, &QLocalSocket::readyRead, socket, [socket, received] {
                QDataStream in(socket);
                in.startTransaction();
                QStringList paths;
                in >> paths;
                if (!in.commitTransaction())
                    return; // the rest is still on its way
                received(paths);
                socket->disconnectFromServer();
            });
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

} // namespace quorvel
