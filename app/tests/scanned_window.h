#pragma once

// The app's window open offscreen on a home that the command line has scanned, with
// its cleanup suggestions loaded: where the window tests start.

#include <QLabel>
#include <QString>
#include <QTest>

#include <gtest/gtest.h>

#include "app/model/app_model.h"
#include "app/tests/app_home.h"
#include "app/tests/find_widget.h"
#include "app/views/main_window.h"
#include "app/views/screen_registry.h"

namespace tallyfin::app::testing {

class ScannedWindow : public ::testing::Test {
 protected:
  void SetUp() override {
    home.scanWithCommandLine();
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    model.scanner().load();
    ASSERT_TRUE(eventually([&] { return !model.cleanup().empty(); }));
  }

  template <class Screen>
  Screen* open(Route route) {
    model.setRoute(route);
    return qobject_cast<Screen*>(window.screen(route));
  }

  QString noticeText() { return find<QLabel>(&window, "noticeText")->text(); }

  AppHome home;
  AppModel model{home.environment()};
  MainWindow window{model, ScreenRegistry::standard()};
};

}  // namespace tallyfin::app::testing
