#pragma once

// Identical files among the last scan's big files or in a folder the user picks:
// a search off the main thread with progress and Cancel, then the sets with what
// each frees. One copy of every set stays (the oldest, the newest, or the one the
// user leaves unticked); the ticked extras are compared byte for byte with it
// right before they move to the Trash.

#include <set>
#include <string>

#include "app/views/tool_screen.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QSpinBox;

namespace tallyfin::app {

class ToolList;
class ToolListModel;

class DuplicatesScreen : public ToolScreen {
  Q_OBJECT

 public:
  explicit DuplicatesScreen(AppModel& model, QWidget* parent = nullptr);

  ToolList* sets() const { return sets_; }
  // Searches where the "Search in" choice says, or in `folder` when given.
  void search(std::optional<std::string> folder = std::nullopt);
  // Ticks every copy but the oldest (or the newest) of every set.
  void keep(bool oldest);

 protected:
  void refresh() override;

 private:
  void showProgress();
  void showTicked();
  void chooseFolder();
  void confirmTrash();
  // The sets as they stand, minus copies moved to the Trash since.
  std::vector<DuplicateGroup> shownGroups() const;

  QComboBox* where_;
  QSpinBox* minimum_;
  QPushButton* find_;
  QPushButton* cancel_;
  QProgressBar* progress_;
  QLabel* state_;
  QLineEdit* filter_;
  QPushButton* keepOldest_;
  QPushButton* keepNewest_;
  ToolListModel* rows_;
  ToolList* sets_;
  QLabel* ticked_;
  QPushButton* reveal_;
  QPushButton* trash_;
  // Every copy listed so far: a copy seen before keeps its tick, a new one gets the default.
  std::set<std::string> seen_;
};

}  // namespace tallyfin::app
