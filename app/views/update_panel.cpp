#include "app/views/update_panel.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>

#include "app/model/app_model.h"
#include "app/views/colors.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/tool_parts.h"

namespace tallyfin::app {
namespace {

using Phase = UpdateModel::Phase;

}  // namespace

UpdatePanel::UpdatePanel(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      automatic_(new QCheckBox("Look for a new version when Tallyfin starts, once a day", this)),
      check_(new QPushButton("Check for Updates", this)),
      status_(textLine({}, this)),
      releaseTitle_(sectionHeading({}, this)),
      notes_(new QTextBrowser(this)),
      progress_(new QProgressBar(this)),
      download_(new QPushButton("Download", this)),
      cancel_(new QPushButton("Cancel", this)),
      skip_(new QPushButton("Skip This Version", this)),
      install_(new QPushButton("Install\u2026", this)),
      installCommand_(new CommandRow(model, "Command that installs the downloaded release", this)) {
  automatic_->setObjectName("updatesCheck");
  check_->setObjectName("checkForUpdates");
  check_->setAccessibleName("Check for a newer version now");
  status_->setObjectName("updateStatus");
  status_->setAccessibleName("What the update check found");
  notes_->setObjectName("releaseNotes");
  notes_->setAccessibleName("Release notes of the new version");
  notes_->setOpenLinks(false);
  notes_->setFixedHeight(180);
  progress_->setAccessibleName("Download progress");
  progress_->setRange(0, 1000);
  download_->setObjectName("downloadUpdate");
  download_->setAccessibleName("Download the new version and check it against its signature");
  cancel_->setAccessibleName("Stop the download");
  skip_->setObjectName("skipVersion");
  skip_->setAccessibleName("Do not offer this version again");
  install_->setAccessibleName("Hand the downloaded version to the system's installer");
  install_->setToolTip("The installer asks for your password before it installs anything");

  auto* top = new QHBoxLayout;
  top->addWidget(automatic_, 1);
  top->addWidget(check_);
  auto* actions = new QHBoxLayout;
  actions->addWidget(progress_, 1);
  actions->addStretch(0);
  actions->addWidget(cancel_);
  actions->addWidget(skip_);
  actions->addWidget(download_);
  actions->addWidget(install_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(sectionHeading("Updates", this));
  layout->addLayout(top);
  layout->addWidget(status_);
  layout->addWidget(releaseTitle_);
  layout->addWidget(notes_);
  layout->addLayout(actions);
  layout->addWidget(installCommand_);

  UpdateModel& updates = model_.updates();
  connect(automatic_, &QCheckBox::toggled, &updates, &UpdateModel::setChecksAutomatically);
  connect(check_, &QPushButton::clicked, &updates, &UpdateModel::checkNow);
  connect(download_, &QPushButton::clicked, &updates, &UpdateModel::download);
  connect(cancel_, &QPushButton::clicked, &updates, &UpdateModel::cancelDownload);
  connect(skip_, &QPushButton::clicked, &updates, &UpdateModel::skipThisVersion);
  connect(install_, &QPushButton::clicked, &updates, &UpdateModel::install);
  connect(&updates, &UpdateModel::changed, this, &UpdatePanel::refresh);
  refresh();
}

void UpdatePanel::refresh() {
  const UpdateModel& updates = model_.updates();
  const Phase phase = updates.phase();
  const bool builtIn = UpdateModel::isBuiltIn();
  automatic_->setVisible(builtIn);
  check_->setVisible(builtIn);
  {
    const QSignalBlocker quiet(automatic_);
    automatic_->setChecked(updates.checksAutomatically());
  }
  check_->setEnabled(phase != Phase::checking && phase != Phase::downloading && phase != Phase::installing);

  QString status = qstr(updates.message());
  if (phase == Phase::checking) status = "Looking for a new version\u2026";
  if (phase == Phase::idle && builtIn) status = "Press Check for Updates to look for a new version now.";
  if (phase == Phase::downloading) {
    status = "Downloading " + bytesText(updates.received()) + " of " +
             bytesText(updates.release() ? updates.release()->packageSize : 0) + "\u2026";
  }
  status_->setText(status);
  tintText(status_, phase == Phase::failed ? errorColor(palette()) : palette().color(QPalette::WindowText));

  const auto& release = updates.release();
  const bool offered = release.has_value() && phase != Phase::upToDate;
  releaseTitle_->setVisible(offered);
  notes_->setVisible(offered);
  if (offered) {
    releaseTitle_->setText("Tallyfin " + qstr(release->version) + " \u00b7 released " + qstr(release->date) +
                           " \u00b7 " + bytesText(release->packageSize));
    notes_->setMarkdown(qstr(release->notes));
  }
  progress_->setVisible(phase == Phase::downloading);
  if (release && release->packageSize > 0) {
    progress_->setValue(static_cast<int>(1000 * updates.received() / release->packageSize));
  }
  cancel_->setVisible(phase == Phase::downloading);
  download_->setVisible(offered && (phase == Phase::available || phase == Phase::failed));
  skip_->setVisible(offered && (phase == Phase::available || phase == Phase::failed));
  install_->setVisible(phase == Phase::downloaded || phase == Phase::installing);
  install_->setEnabled(phase == Phase::downloaded);
  installCommand_->setCommand(phase == Phase::downloaded || phase == Phase::installing
                                  ? std::optional(updates.installCommand())
                                  : std::nullopt);
}

}  // namespace tallyfin::app
