#include "app/views/notification_panel.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFormLayout>

#include <cmath>

#include "app/model/app_model.h"
#include "app/views/screen_parts.h"

namespace tallyfin::app {
namespace {

constexpr double kGigabyte = 1e9;

}  // namespace

NotificationPanel::NotificationPanel(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      enabled_(new QCheckBox("Post a notification after a scan when something needs a look", this)),
      lowSpace_(gigabytes(&NotificationSettings::lowSpaceBytes, "Low space below, in GB")),
      growth_(gigabytes(&NotificationSettings::growthBytes, "Growth since the last scan, in GB")),
      reclaimable_(gigabytes(&NotificationSettings::reclaimableBytes, "Safe cleanup of at least, in GB")),
      cooldown_(new QDoubleSpinBox(this)) {
  enabled_->setObjectName("notificationsEnabled");
  cooldown_->setRange(0, 90);
  cooldown_->setDecimals(0);
  cooldown_->setSuffix(" days");
  cooldown_->setMinimumWidth(120);
  cooldown_->setAccessibleName("Days before the same notice may come again");
  cooldown_->setKeyboardTracking(false);
  connect(enabled_, &QCheckBox::toggled, this, [this](bool on) { change([on](auto& s) { s.enabled = on; }); });
  connect(cooldown_, &QDoubleSpinBox::valueChanged, this,
          [this](double days) { change([days](auto& s) { s.cooldownDays = days; }); });

  auto* limits = new QFormLayout;
  limits->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
  limits->addRow("Free space falls below:", lowSpace_);
  limits->addRow("Used space grows by:", growth_);
  limits->addRow("Safe cleanup reaches:", reclaimable_);
  limits->addRow("Same notice again after:", cooldown_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(sectionHeading("Notifications", this));
  layout->addWidget(enabled_);
  layout->addLayout(limits);
  const int share = static_cast<int>(std::lround(model_.notificationSettings().lowSpaceFraction * 100));
  layout->addWidget(textLine("At most one notification per scan: the first of these that applies. Free space counts "
                             "as low below this size or below " +
                                 QString::number(share) + "% of the disk, whichever is more.",
                             this));
  connect(&model_, &AppModel::settingsChanged, this, &NotificationPanel::showSettings);
  showSettings();
}

QDoubleSpinBox* NotificationPanel::gigabytes(int64_t NotificationSettings::*field, const QString& accessibleName) {
  auto* box = new QDoubleSpinBox(this);
  box->setRange(1, 10'000);
  box->setDecimals(1);
  box->setSuffix(" GB");
  box->setMinimumWidth(120);
  box->setAccessibleName(accessibleName);
  // Written once the number is entered, not at every keystroke.
  box->setKeyboardTracking(false);
  connect(box, &QDoubleSpinBox::valueChanged, this, [this, field](double value) {
    change([field, value](NotificationSettings& s) { s.*field = std::llround(value * kGigabyte); });
  });
  return box;
}

void NotificationPanel::change(const std::function<void(NotificationSettings&)>& edit) {
  NotificationSettings settings = model_.notificationSettings();
  const NotificationSettings before = settings;
  edit(settings);
  if (settings != before) model_.setNotificationSettings(settings);
}

void NotificationPanel::showSettings() {
  const NotificationSettings& settings = model_.notificationSettings();
  const auto set = [](QDoubleSpinBox* box, double value) {
    const QSignalBlocker quiet(box);
    box->setValue(value);
  };
  {
    const QSignalBlocker quiet(enabled_);
    enabled_->setChecked(settings.enabled);
  }
  // Shown rounded; an untouched limit keeps its exact bytes.
  set(lowSpace_, static_cast<double>(settings.lowSpaceBytes) / kGigabyte);
  set(growth_, static_cast<double>(settings.growthBytes) / kGigabyte);
  set(reclaimable_, static_cast<double>(settings.reclaimableBytes) / kGigabyte);
  set(cooldown_, settings.cooldownDays);
  for (QWidget* box : std::initializer_list<QWidget*>{lowSpace_, growth_, reclaimable_, cooldown_}) {
    box->setEnabled(settings.enabled);
  }
}

}  // namespace tallyfin::app
