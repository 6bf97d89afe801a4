#include "app/views/screen_parts.h"

#include "app/model/app_model.h"

namespace tallyfin::app {

QLabel* pageTitle(const QString& text, QWidget* parent) {
  auto* title = new QLabel(text, parent);
  QFont font = title->font();
  font.setPointSizeF(font.pointSizeF() * 1.6);
  font.setBold(true);
  title->setFont(font);
  title->setAccessibleName(text);
  return title;
}

QLabel* sectionHeading(const QString& text, QWidget* parent) {
  auto* heading = new QLabel(text, parent);
  QFont font = heading->font();
  font.setPointSizeF(font.pointSizeF() * 1.15);
  font.setBold(true);
  heading->setFont(font);
  return heading;
}

QLabel* textLine(const QString& text, QWidget* parent) {
  auto* line = new QLabel(text, parent);
  line->setWordWrap(true);
  line->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  return line;
}

QScrollArea* scrolling(QWidget* content, QWidget* parent) {
  auto* area = new QScrollArea(parent);
  area->setWidget(content);
  area->setWidgetResizable(true);
  area->setFrameShape(QFrame::NoFrame);
  return area;
}

QString noReportText(const AppModel& model) {
  if (!model.scanner().hasLoaded()) return "Loading the last scan\u2026";
  return "No scan yet. Press Scan Now (Ctrl+R) to measure the disk; a full scan takes 15\u201360 s.";
}

}  // namespace tallyfin::app
