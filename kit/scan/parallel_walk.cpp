#include "kit/scan/parallel_walk.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"
#include "kit/scan/directory_reader.h"
#include "kit/scan/folder_listing.h"

namespace tallyfin {
namespace {

using Clock = std::chrono::steady_clock;

// A folder between being found and being finished. Its descriptor stays open
// until every subfolder has been opened relative to it, so no path is resolved
// from the root twice and paths longer than PATH_MAX still work.
struct Folder {
  Folder* parent = nullptr;
  size_t task = 0;
  uint32_t order = 0;  // position in the parent's listing
  std::string display;
  std::string openName;  // raw name relative to the parent, or the real path of a task
  int64_t modified = 0;
  int depth = 0;
  std::optional<FileKind> override;
  SiblingMarkers parentMarkers;
  int64_t parentModified = 0;

  int fd = -1;
  std::atomic<int> fdUsers{0};
  std::atomic<int> pending{0};  // unfinished subfolders, plus one while listing

  std::mutex mutex;  // guards the totals and candidates that finished subfolders add
  int64_t size = 0;
  int64_t files = 0;
  int64_t minimumKept = 0;
  std::vector<OrderedNode> candidates;
  DiskNode::Kind kind = DiskNode::Kind::folder;
  bool isVenv = false;
  std::optional<ProjectJunkKind> junk;
};

// The shared LIFO of folders waiting to be listed. Depth first keeps few folders
// pending at once; `outstanding` counts queued and running jobs so workers know
// when everything is done.
class WorkStack {
 public:
  void push(std::vector<Folder*>& batch) {
    if (batch.empty()) return;
    {
      std::lock_guard lock(mutex_);
      items_.insert(items_.end(), batch.begin(), batch.end());
      outstanding_ += batch.size();
    }
    if (batch.size() == 1) {
      ready_.notify_one();
    } else {
      ready_.notify_all();
    }
    batch.clear();
  }

  Folder* pop() {
    std::unique_lock lock(mutex_);
    ready_.wait(lock, [this] { return !items_.empty() || outstanding_ == 0; });
    if (items_.empty()) return nullptr;
    Folder* folder = items_.back();
    items_.pop_back();
    return folder;
  }

  void finishOne() {
    std::lock_guard lock(mutex_);
    if (--outstanding_ == 0) ready_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable ready_;
  std::vector<Folder*> items_;
  size_t outstanding_ = 0;
};

class Walk {
 public:
  Walk(const std::vector<WalkTask>& tasks, const ScanConfiguration& configuration,
       int32_t rootDevice, const CancelToken& cancel, const ProgressCallback& progress)
      : tasks_(tasks),
        configuration_(configuration),
        rootDevice_(rootDevice),
        cancel_(cancel),
        progress_(progress),
        mounts_(displayMounts(configuration)),
        taskNanos_(tasks.size()),
        results_(tasks.size()) {}

  WalkOutcome run(const std::vector<size_t>& order, int workerCount) {
    std::vector<Folder*> roots;
    // The stack pops from the back: the first task to start goes last.
    for (auto it = order.rbegin(); it != order.rend(); ++it) roots.push_back(makeTaskFolder(*it));
    stack_.push(roots);

    std::vector<Accumulator> accumulators(workerCount);
    std::vector<std::thread> threads;
    threads.reserve(workerCount);
    for (int i = 0; i < workerCount; ++i) {
      threads.emplace_back([this, &accumulators, i] { work(accumulators[i]); });
    }
    for (auto& thread : threads) thread.join();

    for (size_t i = 0; i < results_.size(); ++i) {
      if (results_[i]) results_[i]->seconds = static_cast<double>(taskNanos_[i].load()) / 1e9;
    }
    return {std::move(results_), std::move(accumulators)};
  }

 private:
  // Mount points as shown paths, because the walk names folders by their shown path.
  static PathSet displayMounts(const ScanConfiguration& configuration) {
    PathSet shown;
    const std::string rootPrefix = configuration.root == "/" ? "/" : configuration.root + "/";
    for (const auto& mount : configuration.mounts) {
      if (mount.starts_with(rootPrefix)) shown.insert(configuration.displayPath(mount));
    }
    return shown;
  }

  Folder* makeTaskFolder(size_t index) {
    const WalkTask& task = tasks_[index];
    auto* folder = new Folder;
    folder->task = index;
    folder->display = task.display;
    folder->openName = task.real;
    folder->modified = task.modified;
    folder->override = task.override;
    folder->parentMarkers = task.parentMarkers;
    folder->parentModified = task.parentModified;
    return folder;
  }

  void work(Accumulator& accumulator) {
    DirectoryReader reader(mounts_);
    FolderContents contents;
    std::vector<Folder*> batch;
    while (Folder* folder = stack_.pop()) {
      list(*folder, reader, accumulator, contents, batch);
      stack_.finishOne();
    }
  }

  void list(Folder& folder, DirectoryReader& reader, Accumulator& accumulator,
            FolderContents& contents, std::vector<Folder*>& batch) {
    const auto started = Clock::now();
    folder.pending = 1;
    const std::string_view name = lastComponent(folder.display);
    if (isBundleName(name)) folder.kind = DiskNode::Kind::bundle;

    if (cancel_.isCancelled()) {
      releaseFd(folder.parent);
      complete(&folder, accumulator);
      return;
    }
    if (folder.depth > kMaxTaskDepth) {
      releaseFd(folder.parent);
      markUnreadable(folder, accumulator);
      complete(&folder, accumulator);
      return;
    }
    const int parentFd = folder.parent ? folder.parent->fd : AT_FDCWD;
    folder.fd = ::openat(parentFd, folder.openName.c_str(),
                         O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    releaseFd(folder.parent);
    if (folder.fd < 0) {
      markUnreadable(folder, accumulator);
      complete(&folder, accumulator);
      return;
    }
    auto listing = reader.list(folder.fd, folder.display);
    if (!listing) {
      ::close(folder.fd);
      markUnreadable(folder, accumulator);
      complete(&folder, accumulator);
      return;
    }

    folder.minimumKept = minimumKept(folder.display, configuration_);
    contents.reset();
    readContents(*listing, {folder.display, folder.override, folder.minimumKept}, configuration_,
                 rootDevice_, accumulator, contents);
    filesSeen_.fetch_add(contents.fileCount, std::memory_order_relaxed);
    bytesSeen_.fetch_add(contents.fileBytes, std::memory_order_relaxed);
    folder.isVenv = contents.markers.has(SiblingMarkers::pyvenvCfg);
    folder.junk = junkKind(folder.display, folder.parentMarkers, folder.isVenv, configuration_);

    const auto subfolders = static_cast<int>(contents.subfolders.size());
    {
      // Nothing else can touch the folder yet, but its children soon will.
      std::lock_guard lock(folder.mutex);
      folder.size = contents.fileBytes;
      folder.files = contents.fileCount;
      folder.candidates = std::move(contents.fileNodes);
    }
    folder.pending = subfolders + 1;
    folder.fdUsers = subfolders + 1;
    for (const uint32_t index : contents.subfolders) {
      const DirEntry& entry = (*listing)[index];
      auto* child = new Folder;
      child->parent = &folder;
      child->task = folder.task;
      child->order = index;
      child->display = joinPath(folder.display, entry.name);
      child->openName = std::string(entry.rawName);
      child->modified = entry.modified;
      child->depth = folder.depth + 1;
      child->override = file_kind::override(folder.override, entry.name);
      child->parentMarkers = contents.markers;
      child->parentModified = folder.modified;
      batch.push_back(child);
    }
    const auto elapsed = Clock::now() - started;
    taskNanos_[folder.task].fetch_add(
        std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count(),
        std::memory_order_relaxed);
    stack_.push(batch);
    releaseFd(&folder);
    complete(&folder, accumulator);
  }

  void markUnreadable(Folder& folder, Accumulator& accumulator) {
    folder.kind = DiskNode::Kind::unreadable;
    accumulator.deny(folder.display);
  }

  static void releaseFd(Folder* folder) {
    if (folder && folder->fdUsers.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      ::close(folder->fd);
      folder->fd = -1;
    }
  }

  // Marks one piece of a folder's work done; the last piece finishes the folder
  // and hands its node up, which may finish the parent in turn.
  void complete(Folder* folder, Accumulator& accumulator) {
    while (folder && folder->pending.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      DiskNode node;
      node.name = std::string(lastComponent(folder->display));
      node.modified = folder->modified;
      node.kind = folder->kind;
      {
        std::lock_guard lock(folder->mutex);
        node.size = folder->size;
        node.files = folder->files;
        if (folder->kind != DiskNode::Kind::unreadable) {
          node.children = pruneOrdered(std::move(folder->candidates), node.size, node.files,
                                       folder->display, configuration_);
        }
      }
      if (folder->junk) {
        accumulator.projectJunk.push_back(
            {folder->display, node.size, folder->parentModified, *folder->junk});
      }
      Folder* parent = folder->parent;
      if (!parent) {
        finishTask(*folder, std::move(node));
      } else {
        std::lock_guard lock(parent->mutex);
        parent->size = saturatingAdd(parent->size, node.size);
        parent->files = saturatingAdd(parent->files, node.files);
        if (node.size >= parent->minimumKept) {
          parent->candidates.push_back({folder->order, std::move(node)});
        }
      }
      delete folder;
      folder = parent;
    }
  }

  void finishTask(const Folder& folder, DiskNode node) {
    results_[folder.task] = TaskResult{std::move(node), 0};
    std::lock_guard lock(progressMutex_);
    ++done_;
    if (progress_) {
      progress_({ScanProgress::Phase::scanning, done_, static_cast<int>(tasks_.size()), folder.display,
                 filesSeen_.load(std::memory_order_relaxed), bytesSeen_.load(std::memory_order_relaxed)});
    }
  }

  const std::vector<WalkTask>& tasks_;
  const ScanConfiguration& configuration_;
  const int32_t rootDevice_;
  const CancelToken& cancel_;
  const ProgressCallback& progress_;
  const PathSet mounts_;
  WorkStack stack_;
  std::vector<std::atomic<int64_t>> taskNanos_;
  std::vector<std::optional<TaskResult>> results_;
  std::mutex progressMutex_;
  // What the listings found so far, for progress only (hard links not yet corrected).
  std::atomic<int64_t> filesSeen_{0};
  std::atomic<int64_t> bytesSeen_{0};
  int done_ = 0;
};

}  // namespace

std::optional<ProjectJunkKind> junkKind(std::string_view display, const SiblingMarkers& parentMarkers,
                                        bool isVenv, const ScanConfiguration& configuration) {
  const std::string_view name = lastComponent(display);
  if (!isVenv && !ProjectRules::isSensitiveName(name)) return std::nullopt;
  return ProjectRules::kind(name, parentMarkers, display, isVenv, configuration.home);
}

WalkOutcome walkInParallel(const std::vector<WalkTask>& tasks, const std::vector<size_t>& order,
                           const ScanConfiguration& configuration, int32_t rootDevice,
                           const CancelToken& cancel, const ProgressCallback& progress,
                           int workerCount) {
  Walk walk(tasks, configuration, rootDevice, cancel, progress);
  return walk.run(order, std::max(workerCount, 1));
}

}  // namespace tallyfin
