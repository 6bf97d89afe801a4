#pragma once

// Small building blocks every screen shares: a page title, a section heading, a
// scrolling page, and the line shown while there is no report yet.

#include <QLabel>
#include <QScrollArea>

namespace tallyfin::app {

class AppModel;

QLabel* pageTitle(const QString& text, QWidget* parent);
QLabel* sectionHeading(const QString& text, QWidget* parent);
// A word-wrapping label whose text can be selected and copied.
QLabel* textLine(const QString& text, QWidget* parent);
// `content` in a frameless scroll area that fills the screen.
QScrollArea* scrolling(QWidget* content, QWidget* parent);
// What a screen says while there is no report: loading, or how to make one.
QString noReportText(const AppModel& model);

}  // namespace tallyfin::app
