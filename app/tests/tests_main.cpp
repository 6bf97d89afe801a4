// GoogleTest with a QApplication, so model tests get an event loop and widget
// tests real windows. Windows are drawn offscreen unless the caller chose a platform.

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
