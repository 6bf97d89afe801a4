#include "app/shell/single_instance.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>

namespace tallyfin::app {
namespace {

constexpr int kWaitMilliseconds = 3'000;
constexpr char kAnswer[] = "ok\n";

// Hands the arguments to the app that listens; true once it said it got them.
bool handOver(const QStringList& arguments) {
  QLocalSocket socket;
  socket.connectToServer(SingleInstance::socketPath());
  if (!socket.waitForConnected(kWaitMilliseconds)) return false;
  socket.write(QJsonDocument(QJsonArray::fromStringList(arguments)).toJson(QJsonDocument::Compact) + "\n");
  if (!socket.waitForBytesWritten(kWaitMilliseconds)) return false;
  while (!socket.canReadLine()) {
    if (!socket.waitForReadyRead(kWaitMilliseconds)) return false;
  }
  return socket.readLine() == kAnswer;
}

}  // namespace

QString SingleInstance::socketPath() {
  return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + "/com.morvek.Tallyfin.socket";
}

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {
  server_.setSocketOptions(QLocalServer::UserAccessOption);
  connect(&server_, &QLocalServer::newConnection, this, [this] {
    while (QLocalSocket* socket = server_.nextPendingConnection()) {
      connect(socket, &QLocalSocket::readyRead, this, [this, socket] { receive(socket); });
      connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    }
  });
}

SingleInstance::Role SingleInstance::start(const QStringList& arguments) {
  const QString path = socketPath();
  // Two starts at once: the lock lets one of them decide first.
  QLockFile lock(path + ".lock");
  lock.setStaleLockTime(kWaitMilliseconds * 2);
  if (!lock.tryLock(kWaitMilliseconds * 2)) return Role::alone;
  if (handOver(arguments)) return Role::forwarded;
  // Nobody answered: whatever is left at the path is an old app's socket.
  QLocalServer::removeServer(path);
  return server_.listen(path) ? Role::primary : Role::alone;
}

void SingleInstance::receive(QLocalSocket* socket) {
  if (!socket->canReadLine()) return;
  const QJsonDocument message = QJsonDocument::fromJson(socket->readLine());
  socket->write(kAnswer);
  socket->flush();
  QStringList arguments;
  for (const auto& value : message.array()) arguments << value.toString();
  emit argumentsReceived(arguments);
}

}  // namespace tallyfin::app
