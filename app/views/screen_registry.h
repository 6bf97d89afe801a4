#pragma once

// Which widget shows which route. A new screen is one class and one line in
// `standard()`.

#include <QWidget>

#include <functional>
#include <map>

#include "app/model/route.h"

namespace tallyfin::app {

class AppModel;

class ScreenRegistry {
 public:
  using Factory = std::function<QWidget*(AppModel& model, QWidget* parent)>;

  // Every route's screen.
  static ScreenRegistry standard();

  void add(Route route, Factory factory);
  // The route's screen; every route has one.
  QWidget* make(Route route, AppModel& model, QWidget* parent) const;

 private:
  std::map<Route, Factory> factories_;
};

}  // namespace tallyfin::app
