#pragma once

// Scheduled scans and Autopilot: the schedule with the timer's real state (and why
// it is off when it should not be), and Autopilot's age with the suggestions it
// would move if it ran now.

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

namespace tallyfin::app {

class AppModel;
class ToolList;
class ToolListModel;

class AutomationPanel : public QWidget {
  Q_OBJECT

 public:
  explicit AutomationPanel(AppModel& model, QWidget* parent = nullptr);

  QComboBox* schedule() const { return schedule_; }
  QLabel* scheduleState() const { return scheduleState_; }
  QCheckBox* autopilot() const { return autopilot_; }
  QComboBox* autopilotAge() const { return age_; }
  QLabel* autopilotPreview() const { return preview_; }
  ToolList* autopilotItems() const { return items_; }

  // The ages offered, in days: two weeks to three months.
  static const std::vector<int>& ages();

 private:
  void showSchedule();
  void showAutopilot();

  AppModel& model_;
  QComboBox* schedule_;
  QLabel* scheduleState_;
  QCheckBox* autopilot_;
  QComboBox* age_;
  QLabel* preview_;
  ToolListModel* rows_;
  ToolList* items_;
  QLineEdit* filter_;
};

}  // namespace tallyfin::app
