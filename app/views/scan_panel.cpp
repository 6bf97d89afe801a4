#include "app/views/scan_panel.h"

#include <QBoxLayout>
#include <QEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "app/model/scan_controller.h"
#include "app/views/colors.h"
#include "app/views/text.h"

namespace tallyfin::app {

QString progressText(const ScanProgress& progress, const std::string& home) {
  switch (progress.phase) {
    case ScanProgress::Phase::planning:
      return "Planning the scan\u2026";
    case ScanProgress::Phase::analyzing:
      return "Working out the suggestions\u2026";
    case ScanProgress::Phase::done:
      return "Saving the report\u2026";
    case ScanProgress::Phase::scanning:
      break;
  }
  QString text = "Scanning \u00b7 " + countOf(progress.files, "file", "files") + " \u00b7 " + bytesText(progress.bytes);
  if (!progress.current.empty()) text += " \u00b7 " + pathText(progress.current, home);
  return text;
}

ScanPanel::ScanPanel(ScanController& scanner, QWidget* parent)
    : QWidget(parent),
      scanner_(scanner),
      scan_(new QPushButton("Scan Now", this)),
      cancel_(new QPushButton("Cancel", this)),
      bar_(new QProgressBar(this)),
      status_(new QLabel(this)),
      error_(new QLabel(this)) {
  scan_->setObjectName("scanNow");
  scan_->setAccessibleName("Scan now");
  scan_->setToolTip("Measure the whole disk again (Ctrl+R)");
  cancel_->setObjectName("cancelScan");
  cancel_->setAccessibleName("Cancel the scan");
  cancel_->setToolTip("Stop the running scan (Esc)");
  scan_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  cancel_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  bar_->setRange(0, 1000);
  bar_->setTextVisible(false);
  bar_->setAccessibleName("Scan progress");
  status_->setAccessibleName("Scan status");
  status_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  error_->setObjectName("scanError");
  error_->setAccessibleName("Scan error");
  error_->setWordWrap(true);
  error_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  tintText(error_, errorColor(palette()));

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(scan_);
  buttons->addWidget(cancel_);
  buttons->addWidget(bar_, 1);
  buttons->addStretch(0);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addLayout(buttons);
  layout->addWidget(status_);
  layout->addWidget(error_);

  connect(scan_, &QPushButton::clicked, &scanner_, &ScanController::scan);
  connect(cancel_, &QPushButton::clicked, &scanner_, &ScanController::cancelScan);
  connect(&scanner_, &ScanController::progressChanged, this, &ScanPanel::refresh);
  connect(&scanner_, &ScanController::scanningChanged, this, &ScanPanel::refresh);
  connect(&scanner_, &ScanController::scanErrorChanged, this, &ScanPanel::refresh);
  refresh();
}

void ScanPanel::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange) tintText(error_, errorColor(palette()));
  QWidget::changeEvent(event);
}

void ScanPanel::refresh() {
  const bool scanning = scanner_.isScanning();
  scan_->setEnabled(!scanning);
  cancel_->setVisible(scanning);
  bar_->setVisible(scanning);
  status_->setVisible(scanning);
  if (const auto& progress = scanner_.progress()) {
    bar_->setValue(static_cast<int>(progress->fraction() * 1000));
    status_->setText(progressText(*progress, scanner_.environment().home));
  }
  error_->setVisible(scanner_.scanError().has_value());
  error_->setText(qstr(scanner_.scanError().value_or("")));
}

}  // namespace tallyfin::app
