#pragma once

// Starts and cancels scans and shows how the running one goes: the phase, the
// files and bytes so far, the folder being read, and the error of the last one.

#include <QWidget>

#include <optional>
#include <string>

#include "kit/scan/scan_progress.h"

class QLabel;
class QProgressBar;
class QPushButton;

namespace tallyfin::app {

class ScanController;

// "Scanning · 123,456 files · 12.3 GB · ~/Projects/app".
QString progressText(const ScanProgress& progress, const std::string& home);

class ScanPanel : public QWidget {
  Q_OBJECT

 public:
  explicit ScanPanel(ScanController& scanner, QWidget* parent = nullptr);

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void refresh();

  ScanController& scanner_;
  QPushButton* scan_;
  QPushButton* cancel_;
  QProgressBar* bar_;
  QLabel* status_;
  QLabel* error_;
};

}  // namespace tallyfin::app
