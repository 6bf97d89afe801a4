#include "app/views/tool_screen.h"

#include "app/model/app_model.h"

namespace tallyfin::app {

ToolScreen::ToolScreen(AppModel& model, ToolResults::Tool tool, QWidget* parent)
    : QWidget(parent), model_(model), tool_(tool) {
  connect(&model_.tools(), &ToolResults::changed, this, [this] {
    if (isVisible()) model_.tools().loadIfNeeded(tool_);
    refresh();
  });
  // Kept and moved items drop out of the lists; a first report lets a tool run.
  connect(&model_, &AppModel::cleanupChanged, this, [this] {
    if (isVisible()) model_.tools().loadIfNeeded(tool_);
    refresh();
  });
  connect(&model_.trash(), &TrashCoordinator::batchesChanged, this, [this] { refresh(); });
}

std::set<std::string> ToolScreen::movedSinceResult() const {
  const auto made = model_.tools().madeAt(tool_);
  return made ? model_.trash().movedSince(*made) : std::set<std::string>{};
}

void ToolScreen::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  model_.tools().loadIfNeeded(tool_);
}

}  // namespace tallyfin::app
