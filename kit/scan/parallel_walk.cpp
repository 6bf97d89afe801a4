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
// from the root twice and paths longer than PATH_MAX still work. It keeps only
// its own name, not its path: a folder thousands of levels deep waits for its
// subfolders with all its parents, and whole paths would grow with the square
// of the depth.
struct Folder {
  Folder* parent = nullptr;
  uint64_t serial = 0;  // tells a folder from a later one at the same address
  size_t task = 0;
  uint32_t order = 0;  // position in the parent's listing
  std::string name;      // shown name; a task's folder holds its whole shown path
  std::string openName;  // raw name relative to the parent, or the real path of a task
  int64_t modified = 0;
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

// One worker's shown path of the folder it listed last. Workers mostly take the
// subfolder they just found, or its sibling, so the path is extended or trimmed
// by one name instead of being rebuilt from the task's folder.
struct ShownPath {
  uint64_t folder = 0;
  uint64_t parent = 0;
  std::string text;

  const std::string& of(const Folder& folder) {
    const Folder* parentFolder = folder.parent;
    if (!parentFolder) {
      text = folder.name;
    } else if (parentFolder->serial == this->folder) {
      append(folder.name);
    } else if (parentFolder->serial == parent) {
      text.resize(parentPath(text).size());
      append(folder.name);
    } else {
      std::vector<const Folder*> chain;
      for (const Folder* at = &folder; at; at = at->parent) chain.push_back(at);
      text = chain.back()->name;
      for (auto it = chain.rbegin() + 1; it != chain.rend(); ++it) append((*it)->name);
    }
    this->folder = folder.serial;
    parent = parentFolder ? parentFolder->serial : 0;
    return text;
  }

 private:
  // In place, as joinPath would: a deep path is never copied once per level.
  void append(std::string_view name) {
    if (text != "/") text += '/';
    text += name;
  }
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
    folder->serial = ++serials_;
    folder->task = index;
    folder->name = task.display;
    folder->openName = task.real;
    folder->modified = task.modified;
    folder->override = task.override;
    folder->parentMarkers = task.parentMarkers;
    folder->parentModified = task.parentModified;
    return folder;
  }

  // What one worker reuses from folder to folder.
  struct Worker {
    explicit Worker(const PathSet& mounts) : reader(mounts) {}
    DirectoryReader reader;
    FolderContents contents;
    std::vector<Folder*> batch;
    ShownPath shown;
    std::string ascending;  // the shown path while finished folders hand their nodes up
  };

  void work(Accumulator& accumulator) {
    Worker worker(mounts_);
    while (Folder* folder = stack_.pop()) {
      list(*folder, worker, accumulator);
      stack_.finishOne();
    }
  }

  void list(Folder& folder, Worker& worker, Accumulator& accumulator) {
    const auto started = Clock::now();
    folder.pending = 1;
    const std::string& display = worker.shown.of(folder);
    if (isBundleName(lastComponent(display))) folder.kind = DiskNode::Kind::bundle;

    if (cancel_.isCancelled()) {
      releaseFd(folder.parent);
      complete(&folder, worker, accumulator);
      return;
    }
    const int parentFd = folder.parent ? folder.parent->fd : AT_FDCWD;
    folder.fd = ::openat(parentFd, folder.openName.c_str(),
                         O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    releaseFd(folder.parent);
    if (folder.fd < 0) {
      markUnreadable(folder, display, accumulator);
      complete(&folder, worker, accumulator);
      return;
    }
    FolderContents& contents = worker.contents;
    std::vector<Folder*>& batch = worker.batch;
    folder.minimumKept = minimumKept(display, configuration_);
    contents.reset();
    const auto error =
        countFolder(worker.reader, folder.fd, display,
                    {display, folder.override, folder.minimumKept}, configuration_, rootDevice_,
                    accumulator, contents, [&](const DirEntry& entry, uint32_t order) {
                      batch.push_back(makeChild(folder, entry, order));
                    });
    if (error) {
      ::close(folder.fd);
      for (Folder* child : batch) delete child;
      batch.clear();
      markUnreadable(folder, display, accumulator);
      complete(&folder, worker, accumulator);
      return;
    }
    filesSeen_.fetch_add(contents.fileCount, std::memory_order_relaxed);
    bytesSeen_.fetch_add(contents.fileBytes, std::memory_order_relaxed);
    folder.isVenv = contents.markers.has(SiblingMarkers::pyvenvCfg);
    folder.junk = junkKind(display, folder.parentMarkers, folder.isVenv, configuration_);

    const auto subfolders = static_cast<int>(batch.size());
    {
      // Nothing else can touch the folder yet, but its children soon will.
      std::lock_guard lock(folder.mutex);
      folder.size = contents.fileBytes;
      folder.files = contents.fileCount;
      folder.candidates = std::move(contents.fileNodes);
    }
    folder.pending = subfolders + 1;
    folder.fdUsers = subfolders + 1;
    // The markers are complete only now that the whole folder is listed.
    for (Folder* child : batch) child->parentMarkers = contents.markers;
    const auto elapsed = Clock::now() - started;
    taskNanos_[folder.task].fetch_add(
        std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count(),
        std::memory_order_relaxed);
    // The folder may be finished by another worker as soon as its subfolders are out.
    worker.ascending = display;
    stack_.push(batch);
    releaseFd(&folder);
    completeAscending(&folder, worker, accumulator);
  }

  Folder* makeChild(Folder& folder, const DirEntry& entry, uint32_t order) {
    auto* child = new Folder;
    child->parent = &folder;
    child->serial = ++serials_;
    child->task = folder.task;
    child->order = order;
    child->name = std::string(entry.name);
    child->openName = std::string(entry.rawName);
    child->modified = entry.modified;
    child->override = file_kind::override(folder.override, entry.name);
    child->parentModified = folder.modified;
    return child;
  }

  void markUnreadable(Folder& folder, const std::string& display, Accumulator& accumulator) {
    folder.kind = DiskNode::Kind::unreadable;
    accumulator.deny(display);
  }

  static void releaseFd(Folder* folder) {
    if (folder && folder->fdUsers.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      ::close(folder->fd);
      folder->fd = -1;
    }
  }

  void complete(Folder* folder, Worker& worker, Accumulator& accumulator) {
    worker.ascending = worker.shown.text;
    completeAscending(folder, worker, accumulator);
  }

  // Marks one piece of a folder's work done; the last piece finishes the folder
  // and hands its node up, which may finish the parent in turn. The worker's
  // `ascending` path is the folder's shown path and loses a name per step up.
  void completeAscending(Folder* folder, Worker& worker, Accumulator& accumulator) {
    std::string& display = worker.ascending;
    while (folder && folder->pending.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      DiskNode node;
      node.name = std::string(lastComponent(display));
      node.modified = folder->modified;
      node.kind = folder->kind;
      {
        std::lock_guard lock(folder->mutex);
        node.size = folder->size;
        node.files = folder->files;
        if (folder->kind != DiskNode::Kind::unreadable) {
          node.children = pruneOrdered(std::move(folder->candidates), node.size, node.files,
                                       display, configuration_);
        }
      }
      if (folder->junk) {
        accumulator.projectJunk.push_back({display, node.size, folder->parentModified, *folder->junk});
      }
      Folder* parent = folder->parent;
      if (!parent) {
        finishTask(*folder, std::move(node), display);
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
      display.resize(parentPath(display).size());
    }
  }

  void finishTask(const Folder& folder, DiskNode node, const std::string& display) {
    results_[folder.task] = TaskResult{std::move(node), 0};
    std::lock_guard lock(progressMutex_);
    ++done_;
    if (progress_) {
      progress_({ScanProgress::Phase::scanning, done_, static_cast<int>(tasks_.size()), display,
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
  std::atomic<uint64_t> serials_{0};
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
