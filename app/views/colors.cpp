#include "app/views/colors.h"

#include <QWidget>

namespace tallyfin::app {

bool isDark(const QPalette& palette) { return palette.color(QPalette::Window).lightness() < 128; }

QColor seriesColor(int index, const QPalette& palette) {
  // The golden angle spreads any number of parts over the colour wheel.
  const int base = palette.color(QPalette::Highlight).hsvHue();
  const int hue = ((base < 0 ? 210 : base) + index * 137) % 360;
  return isDark(palette) ? QColor::fromHsv(hue, 140, 230) : QColor::fromHsv(hue, 170, 200);
}

QColor freeColor(const QPalette& palette) {
  return isDark(palette) ? palette.color(QPalette::Window).lighter(180) : palette.color(QPalette::Window).darker(112);
}

QColor successColor(const QPalette& palette) {
  return isDark(palette) ? QColor(86, 180, 110) : QColor(40, 130, 70);
}

QColor warningColor(const QPalette& palette) {
  return isDark(palette) ? QColor(230, 180, 70) : QColor(170, 110, 0);
}

void tintText(QWidget* widget, const QColor& color) {
  QPalette colors = widget->palette();
  colors.setColor(QPalette::WindowText, color);
  widget->setPalette(colors);
}

QColor errorColor(const QPalette& palette) { return isDark(palette) ? QColor(240, 110, 100) : QColor(190, 40, 30); }

}  // namespace tallyfin::app
