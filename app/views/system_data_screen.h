#pragma once

// What fills the system's share of the disk, part by part, from the last scan and
// two live figures, with what frees each part: a command to copy, the cleanup
// list, or a step to take by hand. Nothing here runs anything.

#include "app/views/tool_screen.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace tallyfin::app {

class CommandRow;
class ToolList;
class ToolListModel;

class SystemDataScreen : public ToolScreen {
  Q_OBJECT

 public:
  explicit SystemDataScreen(AppModel& model, QWidget* parent = nullptr);

  ToolList* parts() const { return parts_; }

 protected:
  void refresh() override;

 private:
  void showCurrent();
  const SystemDataPart* currentPart() const;

  QLabel* state_;
  QPushButton* refresh_;
  ToolListModel* rows_;
  ToolList* parts_;
  QLineEdit* filter_;
  QLabel* title_;
  QLabel* detail_;
  CommandRow* command_;
  QLabel* action_;
  QPushButton* openCleanup_;
};

}  // namespace tallyfin::app
