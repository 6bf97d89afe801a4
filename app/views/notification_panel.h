#pragma once

// When a scan may post its one notification: the master switch, the limits for
// low space, sudden growth and Safe cleanup built up, and the days before the same
// kind may come again. Each limit is written as it is changed; the others keep
// their exact values.

#include <QWidget>

#include <cstdint>
#include <functional>

#include "kit/history/notification_policy.h"

class QCheckBox;
class QDoubleSpinBox;

namespace tallyfin::app {

class AppModel;

class NotificationPanel : public QWidget {
  Q_OBJECT

 public:
  explicit NotificationPanel(AppModel& model, QWidget* parent = nullptr);

  QCheckBox* enabled() const { return enabled_; }
  QDoubleSpinBox* lowSpace() const { return lowSpace_; }
  QDoubleSpinBox* growth() const { return growth_; }
  QDoubleSpinBox* reclaimable() const { return reclaimable_; }
  QDoubleSpinBox* cooldown() const { return cooldown_; }

 private:
  // A box in GB for one byte limit of the settings.
  QDoubleSpinBox* gigabytes(int64_t NotificationSettings::*field, const QString& accessibleName);
  void change(const std::function<void(NotificationSettings&)>& edit);
  void showSettings();

  AppModel& model_;
  QCheckBox* enabled_;
  QDoubleSpinBox* lowSpace_;
  QDoubleSpinBox* growth_;
  QDoubleSpinBox* reclaimable_;
  QDoubleSpinBox* cooldown_;
};

}  // namespace tallyfin::app
