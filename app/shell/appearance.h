#pragma once

// Light or dark for the whole app, as the "appearance" setting says: light, dark,
// or what the desktop prefers (asked from the XDG desktop portal, and followed
// when the user switches).

#include <QDBusVariant>
#include <QObject>
#include <QPalette>

#include <optional>

#include "kit/shell/preferences.h"

namespace tallyfin::app {

class AppModel;

class AppearanceFollower : public QObject {
  Q_OBJECT

 public:
  explicit AppearanceFollower(AppModel& model, QObject* parent = nullptr);

  static QPalette lightPalette();
  static QPalette darkPalette();
  // Whether the app is drawn dark for this setting and what the desktop prefers.
  static bool drawsDark(Appearance appearance, std::optional<bool> desktopPrefersDark, bool platformIsDark);

 private slots:
  void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

 private:
  void apply();
  void askDesktop();

  AppModel& model_;
  std::optional<bool> desktopPrefersDark_;
  bool platformIsDark_;
};

}  // namespace tallyfin::app
