#pragma once

// What Docker holds, as Docker itself tells it: images, containers, volumes and
// build cache with what could be reclaimed, the engines' disk files, and Docker's
// own clean-up commands to copy. Nothing here runs them.

#include "app/views/tool_screen.h"

class QLabel;
class QPushButton;

namespace tallyfin::app {

class CommandRow;
class ToolList;
class ToolListModel;

class DockerScreen : public ToolScreen {
  Q_OBJECT

 public:
  explicit DockerScreen(AppModel& model, QWidget* parent = nullptr);

  ToolList* usage() const { return usage_; }

 protected:
  void refresh() override;

 private:
  QLabel* status_;
  QLabel* advice_;
  QPushButton* refresh_;
  QLabel* usageHeading_;
  ToolListModel* usageRows_;
  ToolList* usage_;
  QLabel* disksHeading_;
  QLabel* disksNote_;
  ToolListModel* diskRows_;
  ToolList* disks_;
  CommandRow* shrink_;
};

// What to do about Docker's state: how to install it, start it, or nothing.
QString dockerAdvice(const DockerReport& report);

}  // namespace tallyfin::app
