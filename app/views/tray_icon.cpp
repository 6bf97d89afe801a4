#include "app/views/tray_icon.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

#include "app/model/app_model.h"
#include "app/views/main_window.h"
#include "app/views/text.h"

namespace tallyfin::app {
namespace {

constexpr int kIconPixels = 64;

}  // namespace

TrayIcon::TrayIcon(AppModel& model, MainWindow& window, QObject* parent)
    : QObject(parent), model_(model), window_(window) {
  menu_.addAction("Open Tallyfin", &window_, &MainWindow::bringToFront);
  menu_.addAction("Scan Now", &model_.scanner(), &ScanController::scan);
  menu_.addAction("Review Cleanup", this, [this] {
    model_.setRoute(Route::cleanup);
    window_.bringToFront();
  });
  menu_.addSeparator();
  menu_.addAction("Quit", qApp, &QApplication::quit);
  tray_.setContextMenu(&menu_);
  connect(&tray_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
    if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) window_.bringToFront();
  });
  connect(&model_, &AppModel::menuBarChanged, this, &TrayIcon::refresh);
  connect(&model_.scanner(), &ScanController::diskChanged, this, &TrayIcon::refresh);
  refresh();
}

bool TrayIcon::isShown() const { return tray_.isVisible(); }

QString TrayIcon::compactBytes(int64_t bytes) {
  constexpr std::pair<double, const char*> kUnits[] = {{1e12, "T"}, {1e9, "G"}, {1e6, "M"}, {1e3, "K"}};
  const double value = static_cast<double>(std::max<int64_t>(bytes, 0));
  for (const auto& [size, unit] : kUnits) {
    if (value >= size * 0.9995 || size == 1e3) {
      const double shown = value / size;
      return QString::number(shown, 'f', shown >= 9.95 || shown == 0 ? 0 : 1) + unit;
    }
  }
  return {};
}

QIcon TrayIcon::icon(std::optional<int64_t> freeBytes) const {
  const QIcon base = QApplication::windowIcon();
  if (!freeBytes) return base;
  // The number on a plate across the icon's lower half, legible at tray sizes.
  QPixmap picture(kIconPixels, kIconPixels);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  base.paint(&painter, QRect(0, 0, kIconPixels, kIconPixels));
  const QRectF plate(0, kIconPixels * 0.5, kIconPixels, kIconPixels * 0.5);
  QPainterPath rounded;
  rounded.addRoundedRect(plate, 8, 8);
  painter.fillPath(rounded, QColor(20, 20, 20, 220));
  QFont font = painter.font();
  font.setBold(true);
  font.setPixelSize(static_cast<int>(kIconPixels * 0.42));
  painter.setFont(font);
  painter.setPen(Qt::white);
  painter.drawText(plate, Qt::AlignCenter, compactBytes(*freeBytes));
  painter.end();
  return QIcon(picture);
}

void TrayIcon::refresh() {
  const auto& disk = model_.scanner().disk();
  const auto& report = model_.scanner().report();
  std::optional<int64_t> free;
  if (disk) {
    free = disk->free;
  } else if (report) {
    free = report->disk.free;
  }
  tray_.setToolTip(free ? "Tallyfin \u2014 " + bytesText(*free) + " free" : QString("Tallyfin"));
  tray_.setIcon(icon(model_.menuBarShowsFree() ? free : std::nullopt));
  const bool show = model_.showMenuBar() && QSystemTrayIcon::isSystemTrayAvailable();
  tray_.setVisible(show);
  window_.setStaysInTray(show);
}

}  // namespace tallyfin::app
