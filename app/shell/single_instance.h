#pragma once

// One app per user: the first start listens on a local socket in the runtime
// folder; a later start hands its arguments to it and ends.

#include <QLocalServer>
#include <QObject>
#include <QStringList>

class QLocalSocket;

namespace tallyfin::app {

class SingleInstance : public QObject {
  Q_OBJECT

 public:
  enum class Role {
    primary,    // this process is the app: it listens now
    forwarded,  // another process is the app and has the arguments
    alone,      // nothing to listen on; this process runs without the hand-over
  };

  // The socket in this user's runtime folder.
  static QString socketPath();

  explicit SingleInstance(QObject* parent = nullptr);

  Role start(const QStringList& arguments);

 signals:
  void argumentsReceived(const QStringList& arguments);

 private:
  void receive(QLocalSocket* socket);

  QLocalServer server_;
};

}  // namespace tallyfin::app
