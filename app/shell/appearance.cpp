#include "app/shell/appearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStyle>
#include <QStyleFactory>

#include <memory>

#include "app/model/app_model.h"
#include "app/views/colors.h"

namespace tallyfin::app {
namespace {

constexpr char kPortal[] = "org.freedesktop.portal.Desktop";
constexpr char kPortalPath[] = "/org/freedesktop/portal/desktop";
constexpr char kSettings[] = "org.freedesktop.portal.Settings";
constexpr char kAppearance[] = "org.freedesktop.appearance";
constexpr char kColorScheme[] = "color-scheme";

// The portal's color-scheme: 1 prefers dark, 2 prefers light, 0 says nothing.
std::optional<bool> prefersDark(const QVariant& value) {
  QVariant inner = value;
  while (inner.canConvert<QDBusVariant>() && inner.userType() == qMetaTypeId<QDBusVariant>()) {
    inner = inner.value<QDBusVariant>().variant();
  }
  bool ok = false;
  const uint scheme = inner.toUInt(&ok);
  if (!ok || scheme == 0) return std::nullopt;
  return scheme == 1;
}

}  // namespace

AppearanceFollower::AppearanceFollower(AppModel& model, QObject* parent)
    : QObject(parent), model_(model), platformIsDark_(isDark(QApplication::palette())) {
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  connect(&model_, &AppModel::appearanceChanged, this, &AppearanceFollower::apply);
  QDBusConnection::sessionBus().connect(kPortal, kPortalPath, kSettings, "SettingChanged", this,
                                        SLOT(settingChanged(QString, QString, QDBusVariant)));
  apply();
  askDesktop();
}

bool AppearanceFollower::drawsDark(Appearance appearance, std::optional<bool> desktopPrefersDark, bool platformIsDark) {
  switch (appearance) {
    case Appearance::light: return false;
    case Appearance::dark: return true;
    case Appearance::system: break;
  }
  return desktopPrefersDark.value_or(platformIsDark);
}

QPalette AppearanceFollower::lightPalette() {
  const std::unique_ptr<QStyle> fusion(QStyleFactory::create("Fusion"));
  QPalette palette = fusion->standardPalette();
  palette.setColor(QPalette::Highlight, QColor(38, 110, 200));
  return palette;
}

QPalette AppearanceFollower::darkPalette() {
  QPalette palette;
  // Lists a shade lighter than the window: the style outlines check boxes with a
  // darkened window colour, which must stand out against the list behind them.
  const QColor window(37, 39, 43), base(50, 52, 57), text(228, 228, 230), disabled(128, 128, 132);
  palette.setColor(QPalette::Window, window);
  palette.setColor(QPalette::WindowText, text);
  palette.setColor(QPalette::Base, base);
  palette.setColor(QPalette::AlternateBase, QColor(56, 58, 64));
  palette.setColor(QPalette::ToolTipBase, window.lighter(130));
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::PlaceholderText, disabled);
  palette.setColor(QPalette::Text, text);
  palette.setColor(QPalette::Button, QColor(52, 54, 59));
  palette.setColor(QPalette::ButtonText, text);
  palette.setColor(QPalette::BrightText, Qt::white);
  palette.setColor(QPalette::Light, QColor(70, 72, 78));
  palette.setColor(QPalette::Midlight, QColor(60, 62, 67));
  palette.setColor(QPalette::Mid, QColor(80, 82, 88));
  palette.setColor(QPalette::Dark, QColor(22, 23, 25));
  palette.setColor(QPalette::Shadow, Qt::black);
  palette.setColor(QPalette::Highlight, QColor(70, 140, 230));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, QColor(110, 170, 250));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, disabled);
  }
  return palette;
}

void AppearanceFollower::apply() {
  const bool dark = drawsDark(model_.appearance(), desktopPrefersDark_, platformIsDark_);
  QApplication::setPalette(dark ? darkPalette() : lightPalette());
}

// Asked without waiting: a desktop without the portal must not hold up the window.
void AppearanceFollower::askDesktop() {
  QDBusMessage read = QDBusMessage::createMethodCall(kPortal, kPortalPath, kSettings, "Read");
  read << QString(kAppearance) << QString(kColorScheme);
  auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(read), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
    const QDBusPendingReply<QVariant> reply = *finished;
    if (!reply.isError()) {
      desktopPrefersDark_ = prefersDark(reply.value());
      apply();
    }
    finished->deleteLater();
  });
}

void AppearanceFollower::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
  if (group != kAppearance || key != kColorScheme) return;
  desktopPrefersDark_ = prefersDark(value.variant());
  apply();
}

}  // namespace tallyfin::app
