#pragma once

// Code projects that carry rebuildable clutter (dependency and build folders),
// with their git branch, last commit and whether work is uncommitted, read from
// git's own files. Stale projects can be shown alone; ticked clutter moves to the
// Trash, never source code or git history.

#include "app/views/tool_screen.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace tallyfin::app {

class ToolList;
class ToolListModel;

class ProjectsScreen : public ToolScreen {
  Q_OBJECT

 public:
  // The stale periods offered, in days.
  static constexpr int kStalePeriods[] = {30, 90, 180, 365};

  explicit ProjectsScreen(AppModel& model, QWidget* parent = nullptr);

  ToolList* projects() const { return projects_; }

 protected:
  void refresh() override;

 private:
  void showFilter();
  void showTicked();
  void confirmTrash();
  // The ticked clutter that is still listed, outermost folders only.
  std::vector<CleanupItem> tickedItems() const;

  QLabel* state_;
  QPushButton* refresh_;
  QLineEdit* filter_;
  QCheckBox* staleOnly_;
  QComboBox* stalePeriod_;
  ToolListModel* rows_;
  ToolList* projects_;
  QLabel* ticked_;
  QPushButton* reveal_;
  QPushButton* trash_;
};

// "1 month", "3 months", "1 year", or "45 days" for a period not offered.
QString periodText(int days);

}  // namespace tallyfin::app
