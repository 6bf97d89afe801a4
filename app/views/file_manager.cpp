#include "app/views/file_manager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QUrl>

#include "app/views/text.h"
#include "kit/base/paths.h"

namespace tallyfin::app {

void showInFolder(const std::string& path) {
  const QUrl folder = QUrl::fromLocalFile(qstr(parentPath(path)));
  QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                                     "org.freedesktop.FileManager1", "ShowItems");
  // A URI as the interface wants it: percent-encoded, not the readable form.
  call << QStringList{QString::fromLatin1(QUrl::fromLocalFile(qstr(path)).toEncoded())} << QString();
  // Asked without waiting: a file manager that is slow to start never stalls the window.
  auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call));
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [folder](QDBusPendingCallWatcher* finished) {
    if (QDBusPendingReply<>(*finished).isError()) QDesktopServices::openUrl(folder);
    finished->deleteLater();
  });
}

}  // namespace tallyfin::app
