#pragma once

// A screen still to come: one line on what it will hold, and the command that
// gives the same today.

#include <QWidget>

#include "app/model/route.h"

namespace tallyfin::app {

class PlaceholderScreen : public QWidget {
  Q_OBJECT

 public:
  PlaceholderScreen(Route route, QWidget* parent = nullptr);

  // What the screen will hold, and the command for it today.
  static QString plan(Route route);
  static QString commandToday(Route route);
};

}  // namespace tallyfin::app
