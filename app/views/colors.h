#pragma once

// Colours for pictures, taken from the palette so that light and dark both work.

#include <QColor>
#include <QPalette>

class QWidget;

namespace tallyfin::app {

// Whether the palette is a dark one: light text on a dark window.
bool isDark(const QPalette& palette);
// The colour of the i-th part of a chart: distinct hues around the palette's highlight.
QColor seriesColor(int index, const QPalette& palette);
// Free space: a quiet colour that still stands apart from the window.
QColor freeColor(const QPalette& palette);
// Success and warning tints for banners and health.
QColor successColor(const QPalette& palette);
QColor warningColor(const QPalette& palette);
QColor errorColor(const QPalette& palette);

// Draws the widget's text in `color`, whatever the palette says otherwise.
void tintText(QWidget* widget, const QColor& color);

}  // namespace tallyfin::app
