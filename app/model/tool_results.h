#pragma once

// What the disk tools found, one slot per tool; empty until that tool runs. The
// results belong to the report they were made from, so a new report empties them.
// Each tool runs off the main thread on a pool of its own (a hung docker must not
// hold up a move to the Trash); the duplicate search, which may read for minutes,
// has a thread of its own, with progress and Cancel.

#include <QObject>
#include <QThreadPool>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "app/model/app_environment.h"
#include "kit/agents/duplicates_json.h"
#include "kit/report/scan_report.h"
#include "kit/tools/ai_models.h"
#include "kit/tools/app_inventory.h"
#include "kit/tools/dev_projects.h"
#include "kit/tools/docker_probe.h"
#include "kit/tools/duplicate_finder.h"
#include "kit/tools/system_data.h"

namespace tallyfin::app {

class ToolResults : public QObject {
  Q_OBJECT

 public:
  enum class Tool { aiModels, projects, duplicates, apps, docker, systemData };

  // The installed apps and what each keeps in ~/Library, by the app's path.
  struct Apps {
    AppInventory inventory;
    std::map<std::string, std::vector<AppLeftover>> leftovers;
  };

  explicit ToolResults(AppEnvironment environment, QObject* parent = nullptr);
  // Cancels a running duplicate search and waits for it.
  ~ToolResults() override;

  // The report on screen; the model sets it.
  std::function<std::shared_ptr<const ScanReport>()> report;

  std::optional<ModelInventory> aiModels;
  std::optional<std::vector<DevProject>> projects;
  std::optional<AgentJson::DuplicatesFound> duplicates;
  std::optional<Apps> apps;
  std::optional<DockerReport> docker;
  std::optional<std::vector<SystemDataPart>> systemData;

  bool isLoading(Tool tool) const { return loading_.contains(tool); }
  // When the tool's result was taken (seconds since 1970); none without one.
  std::optional<double> madeAt(Tool tool) const;
  // Runs the tool again unless it is running; projects and System Data need a
  // report and do nothing without one. For duplicates it searches the last scan's
  // big files (samples of a few files, from the hash cache when it can).
  void load(Tool tool);
  // Runs the tool unless it has a result or is running.
  void loadIfNeeded(Tool tool);

  // Searches the last scan's large files (no folder), or every file of at least
  // `minimum` bytes in `folder`; the groups replace `duplicates` when it ends.
  void findDuplicates(std::optional<std::string> folder, int64_t minimum);
  // Stops the search at its next read; the groups finished so far are kept.
  void cancelDuplicates();
  // While the search runs: what it has read and plans to read.
  const std::optional<DuplicateProgress>& duplicateProgress() const { return duplicateProgress_; }
  // Why the last search found nothing to compare, or that it was cancelled.
  const std::optional<std::string>& duplicateMessage() const { return duplicateMessage_; }

  // Empties every slot; loads still running are dropped when they end.
  void reset();

 signals:
  // A slot, a loading state or the search's message changed.
  void changed();
  void duplicateProgressChanged();

 private:
  template <class Result>
  void run(Tool tool, std::function<Result()> work, std::optional<Result> ToolResults::*slot);
  void finishSearch(AgentJson::DuplicatesFound found, std::optional<std::string> message);

  AppEnvironment environment_;
  QThreadPool pool_;
  std::set<Tool> loading_;
  std::map<Tool, double> madeAt_;
  // A reset makes every load started before it stale.
  int generation_ = 0;
  std::optional<DuplicateProgress> duplicateProgress_;
  std::optional<std::string> duplicateMessage_;
  std::shared_ptr<CancelToken> duplicateCancel_;
  double searchStarted_ = 0;
  std::thread searchThread_;
};

}  // namespace tallyfin::app
