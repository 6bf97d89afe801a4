#include "app/views/profile_screen.h"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QCheckBox>
#include <QPushButton>
#include <QRadioButton>

#include "app/model/app_model.h"
#include "app/views/automation_panel.h"
#include "app/views/forget_confirmation.h"
#include "app/views/keep_list_panel.h"
#include "app/views/notification_panel.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/update_panel.h"

namespace tallyfin::app {
namespace {

constexpr std::array<std::pair<const char*, Appearance>, 3> kAppearances = {
    std::pair{"&System", Appearance::system}, std::pair{"&Light", Appearance::light},
    std::pair{"&Dark", Appearance::dark}};

// Sections read best at a line length of their own, whatever the window's width.
constexpr int kWidestSection = 820;

}  // namespace

ProfileScreen::ProfileScreen(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      automation_(new AutomationPanel(model, this)),
      notifications_(new NotificationPanel(model, this)),
      updates_(new UpdatePanel(model, this)),
      keepList_(new KeepListPanel(model, this)),
      tray_(new QCheckBox("Show Tallyfin in the tray", this)),
      trayFree_(new QCheckBox("Show free space on the tray icon", this)),
      hideWhenClosed_(new QCheckBox("Keep running in the tray when the window is closed, without a taskbar entry", this)),
      appearance_(new QButtonGroup(this)),
      deleteData_(new QPushButton("Delete Scan Data\u2026", this)) {
  deleteData_->setObjectName("deleteScanData");
  deleteData_->setAccessibleName("Delete the saved report, the history and the change tracking");

  auto* content = new QWidget(this);
  content->setMaximumWidth(kWidestSection);
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->setSpacing(10);
  layout->addWidget(pageTitle("Profile", content));
  layout->addWidget(textLine("Settings are saved as you change them, in " +
                                 pathText(model_.preferencesFile(), model_.home()) +
                                 "; the command line reads the same file.",
                             content));
  layout->addWidget(automation_);
  layout->addWidget(notifications_);
  layout->addWidget(windowSection(content));
  layout->addWidget(updates_);
  layout->addWidget(keepList_);
  layout->addWidget(sectionHeading("Scan data", content));
  layout->addWidget(textLine("Deleting the scan data removes the saved report, the history chart and the change "
                             "tracking from " +
                                 pathText(model_.store().directory(), model_.home()) +
                                 ". The keep list and the Trash journal stay, so Undo still works.",
                             content));
  auto* deleteRow = new QHBoxLayout;
  deleteRow->addWidget(deleteData_);
  deleteRow->addStretch(1);
  layout->addLayout(deleteRow);
  layout->addStretch(1);
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->addWidget(scrolling(content, this));

  connect(deleteData_, &QPushButton::clicked, this, [this] { confirmDeleteScanData(model_, this); });
  connect(&model_.scanner(), &ScanController::scanningChanged, this,
          [this](bool scanning) { deleteData_->setEnabled(!scanning); });
  connect(tray_, &QCheckBox::toggled, &model_, &AppModel::setShowMenuBar);
  connect(trayFree_, &QCheckBox::toggled, &model_, &AppModel::setMenuBarShowsFree);
  connect(hideWhenClosed_, &QCheckBox::toggled, &model_, &AppModel::setHideDockWhenClosed);
  connect(appearance_, &QButtonGroup::idClicked, this,
          [this](int id) { model_.setAppearance(kAppearances[static_cast<size_t>(id)].second); });
  connect(&model_, &AppModel::menuBarChanged, this, &ProfileScreen::showWindowSettings);
  connect(&model_, &AppModel::appearanceChanged, this, &ProfileScreen::showWindowSettings);
  showWindowSettings();
}

QWidget* ProfileScreen::windowSection(QWidget* parent) {
  auto* section = new QWidget(parent);
  auto* layout = new QVBoxLayout(section);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(sectionHeading("Tray and window", section));
  layout->addWidget(tray_);
  layout->addWidget(trayFree_);
  layout->addWidget(hideWhenClosed_);
  layout->addWidget(sectionHeading("Appearance", section));
  auto* choices = new QHBoxLayout;
  for (size_t i = 0; i < kAppearances.size(); ++i) {
    auto* choice = new QRadioButton(kAppearances[i].first, section);
    appearance_->addButton(choice, static_cast<int>(i));
    choices->addWidget(choice);
  }
  choices->addStretch(1);
  layout->addLayout(choices);
  return section;
}

void ProfileScreen::showWindowSettings() {
  for (auto [box, on] : {std::pair{tray_, model_.showMenuBar()}, std::pair{trayFree_, model_.menuBarShowsFree()},
                         std::pair{hideWhenClosed_, model_.hideDockWhenClosed()}}) {
    const QSignalBlocker quiet(box);
    box->setChecked(on);
  }
  // Both count only while the tray shows the app, so it always stays reachable.
  trayFree_->setEnabled(model_.showMenuBar());
  hideWhenClosed_->setEnabled(model_.showMenuBar());
  for (size_t i = 0; i < kAppearances.size(); ++i) {
    if (kAppearances[i].second == model_.appearance()) appearance_->button(static_cast<int>(i))->setChecked(true);
  }
}

}  // namespace tallyfin::app
