#include "app/SingleInstance.hpp"

#include <QDataStream>
#include <QLocalSocket>

namespace quorvel {

namespace {
constexpr int kTimeoutMs = 1500;
}

SingleInstance::SingleInstance(std::optional<std::string> socket, UserId user, QObject* parent)
    : QObject(parent), user_(user)
{
    if (socket)
        socket_ = QString::fromStdString(*socket);
}

bool SingleInstance::handOver(const QStringList& paths) const
{
    if (!socket_)
        return false;
    QLocalSocket socket;
    socket.connectToServer(*socket_);
    if (!socket.waitForConnected(kTimeoutMs))
        return false;
    if (peerUser(static_cast<int>(socket.socketDescriptor())) != user_) {
        socket.abort();
        return false;
    }
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
    if (!socket_)
        return;
    // A server socket left by a crashed instance would block the name.
    QLocalServer::removeServer(*socket_);
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    server_.listen(*socket_);
    connect(&server_, &QLocalServer::newConnection, this, [this, received = std::move(received)] {
        while (QLocalSocket* socket = server_.nextPendingConnection()) {
            if (peerUser(static_cast<int>(socket->socketDescriptor())) != user_) {
                socket->abort();
                socket->deleteLater();
                continue;
            }
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
