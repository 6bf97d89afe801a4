#include "app/model/tool_results.h"

#include <QMetaObject>

#include "app/model/off_main_thread.h"
#include "app/model/progress_throttle.h"
#include "kit/base/clock.h"
#include "kit/platform/io_priority.h"
#include "kit/platform/probe_environment.h"

namespace tallyfin::app {
namespace {

// Tools mostly wait on disks and child processes; four at once is plenty.
constexpr int kToolThreads = 4;

ToolResults::Apps appsFound(const AppEnvironment& environment, double now) {
  ToolResults::Apps found;
  found.inventory = AppInventory::gather(environment.applicationFolders, environment.home,
                                         firstExecutable(environment.flatpakPlaces), now);
  for (const auto& app : found.inventory.apps) {
    if (app.refusal) continue;  // never offered, so its leftovers are not either
    found.leftovers[app.path] = AppUninstaller::leftovers(app, found.inventory.apps, environment.home);
  }
  return found;
}

}  // namespace

ToolResults::ToolResults(AppEnvironment environment, QObject* parent)
    : QObject(parent), environment_(std::move(environment)) {
  pool_.setMaxThreadCount(kToolThreads);
}

ToolResults::~ToolResults() {
  if (duplicateCancel_) duplicateCancel_->cancel();
  if (searchThread_.joinable()) searchThread_.join();
  pool_.waitForDone();
}

std::optional<double> ToolResults::madeAt(Tool tool) const {
  const auto found = madeAt_.find(tool);
  return found == madeAt_.end() ? std::nullopt : std::optional(found->second);
}

template <class Result>
void ToolResults::run(Tool tool, std::function<Result()> work, std::optional<Result> ToolResults::*slot) {
  loading_.insert(tool);
  emit changed();
  offMainThread(pool_, this, std::move(work),
                [this, tool, slot, generation = generation_, started = secondsSinceEpoch()](Result result) {
                  if (generation != generation_) return;
                  loading_.erase(tool);
                  madeAt_[tool] = started;
                  this->*slot = std::move(result);
                  emit changed();
                });
}

void ToolResults::load(Tool tool) {
  if (isLoading(tool)) return;
  const std::string home = environment_.home;
  const auto current = report ? report() : nullptr;
  switch (tool) {
    case Tool::aiModels:
      run<ModelInventory>(
          tool, [home] { return AIModelScanner::scan(home); }, &ToolResults::aiModels);
      return;
    case Tool::projects:
      if (!current) return;
      run<std::vector<DevProject>>(
          tool, [current] { return ProjectScanner::withGit(ProjectScanner::projects(current->items)); },
          &ToolResults::projects);
      return;
    case Tool::duplicates:
      findDuplicates(std::nullopt, DuplicateFinder::kDefaultMinimum);
      return;
    case Tool::apps:
      run<Apps>(
          tool, [environment = environment_] { return appsFound(environment, secondsSinceEpoch()); },
          &ToolResults::apps);
      return;
    case Tool::docker:
      run<DockerReport>(
          tool,
          [home, places = environment_.dockerPlaces] {
            return DockerProbe::collect(home, firstExecutable(places), DockerProbe::kTimeoutSeconds);
          },
          &ToolResults::docker);
      return;
    case Tool::systemData:
      if (!current) return;
      run<std::vector<SystemDataPart>>(
          tool, [current, home] { return SystemDataScanner::forThisSystem(*current, home); }, &ToolResults::systemData);
      return;
  }
}

void ToolResults::loadIfNeeded(Tool tool) {
  if (isLoading(tool)) return;
  // A search that ended (cancelled, or with nothing to search) counts as a result.
  const bool has = (tool == Tool::aiModels && aiModels) || (tool == Tool::projects && projects) ||
                   (tool == Tool::duplicates && (duplicates || duplicateMessage_)) || (tool == Tool::apps && apps) ||
                   (tool == Tool::docker && docker) || (tool == Tool::systemData && systemData);
  if (!has) load(tool);
}

void ToolResults::findDuplicates(std::optional<std::string> folder, int64_t minimum) {
  if (isLoading(Tool::duplicates)) return;
  const auto current = report ? report() : nullptr;
  if (!folder && !current) {
    duplicateMessage_ = "There is no scan to search yet \u2014 scan first, or choose a folder.";
    emit changed();
    return;
  }
  loading_.insert(Tool::duplicates);
  duplicateMessage_.reset();
  duplicateCancel_ = std::make_shared<CancelToken>();
  duplicateProgress_ = DuplicateProgress{};
  emit changed();
  emit duplicateProgressChanged();
  // The previous search has handed over its result, so its thread is done or nearly.
  if (searchThread_.joinable()) searchThread_.join();
  std::vector<DuplicateCandidate> scanned =
      current ? DuplicateFinder::candidates(current->largeFiles) : std::vector<DuplicateCandidate>{};
  searchStarted_ = secondsSinceEpoch();
  searchThread_ =
      std::thread([this, home = environment_.home, store = environment_.store, folder, minimum,
                   scanned = std::move(scanned), cancel = duplicateCancel_, generation = generation_]() mutable {
        platform::yieldToInteractiveWork();
        const platform::LowIoPriority background;  // listing a folder reads the disk too
        ProgressThrottle throttle;
        DuplicateSearch search;
        search.home = home;
        search.minimum = minimum;
        search.cancel = cancel.get();
        search.progress = [&](const DuplicateProgress& progress) {
          throttle.pass(true, [&] {
            QMetaObject::invokeMethod(
                this,
                [this, progress, generation] {
                  if (generation != generation_ || !isLoading(Tool::duplicates)) return;
                  duplicateProgress_ = progress;
                  emit duplicateProgressChanged();
                },
                Qt::QueuedConnection);
          });
        };
        AgentJson::DuplicatesFound found;
        found.minimum = minimum;
        std::vector<DuplicateCandidate> candidates = std::move(scanned);
        if (folder) {
          found.folder = folder;
          search.home = DuplicateFinder::searchHome(*folder, home);
          auto collected = DuplicateFinder::collect(*folder, search);
          candidates = std::move(collected.candidates);
          found.truncated = collected.truncated;
        }
        DuplicateCache cache(store);
        search.cache = &cache;
        found.groups = DuplicateFinder::find(candidates, search);
        (void)cache.save();  // a cache that cannot be saved only costs the next search time
        std::optional<std::string> message;
        if (cancel->isCancelled())
          message = "Stopped \u2014 the sets below were compared to the end before it stopped.";
        QMetaObject::invokeMethod(
            this,
            [this, found = std::move(found), message = std::move(message), generation]() mutable {
              if (generation == generation_) finishSearch(std::move(found), std::move(message));
            },
            Qt::QueuedConnection);
      });
}

void ToolResults::finishSearch(AgentJson::DuplicatesFound found, std::optional<std::string> message) {
  loading_.erase(Tool::duplicates);
  madeAt_[Tool::duplicates] = searchStarted_;
  duplicateProgress_.reset();
  duplicateCancel_.reset();
  duplicates = std::move(found);
  duplicateMessage_ = std::move(message);
  emit duplicateProgressChanged();
  emit changed();
}

void ToolResults::cancelDuplicates() {
  if (duplicateCancel_) duplicateCancel_->cancel();
}

void ToolResults::reset() {
  ++generation_;
  if (duplicateCancel_) duplicateCancel_->cancel();
  duplicateCancel_.reset();
  duplicateProgress_.reset();
  duplicateMessage_.reset();
  loading_.clear();
  madeAt_.clear();
  aiModels.reset();
  projects.reset();
  duplicates.reset();
  apps.reset();
  docker.reset();
  systemData.reset();
  emit changed();
}

}  // namespace tallyfin::app
