#pragma once

// The installed apps (app bundles, and Flatpak apps where flatpak answers) with
// their sizes, what each keeps in ~/Library, and the leftovers of apps that are
// gone. An app and the leftovers ticked move to the Trash as one batch; parts of
// the system are refused with the reason, and a package manager's apps are
// removed with its own command, to copy.

#include "app/views/tool_screen.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace tallyfin::app {

class CommandRow;
class ToolList;
class ToolListModel;

class AppsScreen : public ToolScreen {
  Q_OBJECT

 public:
  explicit AppsScreen(AppModel& model, QWidget* parent = nullptr);

  ToolList* apps() const { return apps_; }
  ToolList* leftovers() const { return leftovers_; }
  ToolList* removed() const { return removed_; }

 protected:
  void refresh() override;

 private:
  void showCurrent();
  void showTicked();
  const InstalledApp* currentApp() const;
  const FlatpakApp* currentFlatpak() const;
  void confirmUninstall();
  void confirmLeftovers();

  QLabel* state_;
  QPushButton* refresh_;
  ToolListModel* appRows_;
  ToolList* apps_;
  QLineEdit* filter_;
  QLabel* title_;
  QLabel* detail_;
  CommandRow* command_;
  ToolListModel* leftoverRows_;
  ToolList* leftovers_;
  QPushButton* uninstall_;
  QLabel* removedHeading_;
  ToolListModel* removedRows_;
  ToolList* removed_;
  QLabel* removedTicked_;
  QPushButton* removeLeftovers_;
};

}  // namespace tallyfin::app
