#include "app/model/tool_results.h"

namespace tallyfin::app {

void ToolResults::reset() {
  aiModels.reset();
  projects.reset();
  duplicates.reset();
  apps.reset();
  docker.reset();
  systemData.reset();
  emit changed();
}

}  // namespace tallyfin::app
