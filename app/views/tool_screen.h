#pragma once

// What every disk tool's screen does alike: it runs its tool the first time it
// shows (and again after a new report emptied the results), and shows the
// results again whenever they, or what was kept or moved since, change.

#include <QWidget>
#include <set>
#include <string>

#include "app/model/tool_results.h"

namespace tallyfin::app {

class AppModel;

class ToolScreen : public QWidget {
  Q_OBJECT

 protected:
  ToolScreen(AppModel& model, ToolResults::Tool tool, QWidget* parent);

  // Shows the tool's results as they stand.
  virtual void refresh() = 0;
  // What was moved to the Trash (and not put back) since the tool's result was taken.
  std::set<std::string> movedSinceResult() const;
  void showEvent(QShowEvent* event) override;

  AppModel& model_;

 private:
  ToolResults::Tool tool_;
};

}  // namespace tallyfin::app
