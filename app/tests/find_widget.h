#pragma once

// Looks up a screen's control by its object name, failing the test (not crashing
// it) when the screen has none by that name.

#include <QString>
#include <QWidget>

#include <gtest/gtest.h>

namespace tallyfin::app::testing {

template <class Widget>
Widget* find(QWidget* in, const QString& name) {
  auto* found = in->findChild<Widget*>(name);
  if (!found) ADD_FAILURE() << "no " << name.toStdString();
  return found;
}

}  // namespace tallyfin::app::testing
