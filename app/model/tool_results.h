#pragma once

// What the disk tools found, one slot per tool; empty until that tool runs. The
// results belong to the report they were made from, so a new report empties them.

#include <QObject>

#include <optional>
#include <vector>

#include "kit/tools/ai_models.h"
#include "kit/tools/app_inventory.h"
#include "kit/tools/dev_projects.h"
#include "kit/tools/docker_probe.h"
#include "kit/tools/duplicate_group.h"
#include "kit/tools/system_data.h"

namespace tallyfin::app {

class ToolResults : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;

  std::optional<ModelInventory> aiModels;
  std::optional<std::vector<DevProject>> projects;
  std::optional<std::vector<DuplicateGroup>> duplicates;
  std::optional<AppInventory> apps;
  std::optional<DockerReport> docker;
  std::optional<std::vector<SystemDataPart>> systemData;

  // Empties every slot.
  void reset();

 signals:
  void changed();
};

}  // namespace tallyfin::app
