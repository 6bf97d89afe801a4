#pragma once

// The settings: scheduled scans and Autopilot, notifications, the tray and the
// window, the appearance, updates, the keep list, and deleting the scan data.

#include <QWidget>

class QButtonGroup;
class QCheckBox;
class QPushButton;

namespace tallyfin::app {

class AppModel;
class AutomationPanel;
class KeepListPanel;
class NotificationPanel;
class UpdatePanel;

class ProfileScreen : public QWidget {
  Q_OBJECT

 public:
  explicit ProfileScreen(AppModel& model, QWidget* parent = nullptr);

  AutomationPanel* automation() const { return automation_; }
  NotificationPanel* notifications() const { return notifications_; }
  UpdatePanel* updates() const { return updates_; }
  KeepListPanel* keepList() const { return keepList_; }
  QButtonGroup* appearance() const { return appearance_; }
  QPushButton* deleteData() const { return deleteData_; }

 private:
  QWidget* windowSection(QWidget* parent);
  void showWindowSettings();

  AppModel& model_;
  AutomationPanel* automation_;
  NotificationPanel* notifications_;
  UpdatePanel* updates_;
  KeepListPanel* keepList_;
  QCheckBox* tray_;
  QCheckBox* trayFree_;
  QCheckBox* hideWhenClosed_;
  QButtonGroup* appearance_;
  QPushButton* deleteData_;
};

}  // namespace tallyfin::app
