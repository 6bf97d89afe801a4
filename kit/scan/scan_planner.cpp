#include "kit/scan/scan_planner.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"

namespace tallyfin {
namespace {

constexpr double kUntimedTaskSeconds = 0.05;

bool alwaysOwnTask(std::string_view name) {
  return endsWith(name, ".app") || endsWith(name, ".framework") || endsWith(name, ".bundle") ||
         endsWith(name, ".photoslibrary");
}

class Planner {
 public:
  Planner(const ScanConfiguration& configuration, int32_t rootDevice, DirectoryReader& reader,
          Accumulator& accumulator, Plan& plan)
      : configuration_(configuration),
        rootDevice_(rootDevice),
        reader_(reader),
        accumulator_(accumulator),
        plan_(plan) {}

  std::unique_ptr<Skeleton> planFolder(const std::string& real, const WalkTask& folder) {
    auto skeleton = std::make_unique<Skeleton>();
    skeleton->display = folder.display;
    skeleton->modified = folder.modified;
    skeleton->parentModified = folder.parentModified;

    // What is needed of each subfolder is taken while its entry is valid; the
    // recursion below reuses the reader.
    std::vector<std::pair<uint32_t, WalkTask>> subfolders;
    FolderContents contents;
    const int fd = ::open(real.c_str(), O_RDONLY | O_NOFOLLOW | O_DIRECTORY | O_CLOEXEC);
    std::optional<DirectoryReadError> error;
    if (fd < 0) {
      error = DirectoryReadError{real, errno};
    } else {
      const FolderContext context{folder.display, folder.override,
                                  minimumKept(folder.display, configuration_)};
      error = countFolder(reader_, fd, real, context, configuration_, rootDevice_, accumulator_,
                          contents, [&](const DirEntry& entry, uint32_t order) {
                            WalkTask child;
                            child.real = joinPath(real, entry.rawName);
                            child.display = joinPath(folder.display, entry.name);
                            child.modified = entry.modified;
                            child.override = file_kind::override(folder.override, entry.name);
                            child.parentModified = folder.modified;
                            subfolders.emplace_back(order, std::move(child));
                          });
      ::close(fd);
    }
    if (error) {
      skeleton->unreadable = true;
      skeleton->readError = error->code;
      accumulator_.deny(folder.display);
      return skeleton;
    }
    skeleton->fileBytes = contents.fileBytes;
    skeleton->fileCount = contents.fileCount;
    skeleton->fileNodes = std::move(contents.fileNodes);
    skeleton->isVenv = contents.markers.has(SiblingMarkers::pyvenvCfg);
    skeleton->junk = junkKind(folder.display, folder.parentMarkers, skeleton->isVenv, configuration_);
    for (auto& [index, child] : subfolders) {
      child.parentMarkers = contents.markers;
      Skeleton::Child slot;
      slot.order = index;
      if (isSplit(child.display, lastComponent(child.display))) {
        plan_.splits.push_back(child.display);
        slot.split = planFolder(child.real, child);
      } else {
        slot.task = plan_.tasks.size();
        plan_.tasks.push_back(std::move(child));
      }
      skeleton->children.push_back(std::move(slot));
    }
    return skeleton;
  }

 private:
  bool isSplit(std::string_view display, std::string_view name) const {
    if (alwaysOwnTask(name)) return false;
    if (plan_.tasks.size() + plan_.splits.size() >= configuration_.plannedFolderLimit) return false;
    if (configuration_.splitPoints.contains(display)) return true;
    if (const auto it = configuration_.previousTimings.find(display);
        it != configuration_.previousTimings.end()) {
      return it->second >= configuration_.splitSeconds;
    }
    return configuration_.splitSeconds <= 0;
  }

  const ScanConfiguration& configuration_;
  const int32_t rootDevice_;
  DirectoryReader& reader_;
  Accumulator& accumulator_;
  Plan& plan_;
};

}  // namespace

Plan planScan(const ScanConfiguration& configuration, int32_t rootDevice, int64_t rootModified,
              DirectoryReader& reader, Accumulator& accumulator) {
  Plan plan;
  WalkTask root;
  root.display = configuration.displayPath(configuration.root);
  root.modified = rootModified;
  root.override = file_kind::overrideForPath(configuration.root);
  Planner planner(configuration, rootDevice, reader, accumulator, plan);
  plan.root = planner.planFolder(configuration.root, root);
  return plan;
}

std::vector<size_t> slowestFirst(const std::vector<WalkTask>& tasks, const TimingMap& previous) {
  std::vector<double> seconds(tasks.size(), kUntimedTaskSeconds);
  for (size_t i = 0; i < tasks.size(); ++i) {
    if (const auto it = previous.find(tasks[i].display); it != previous.end()) {
      seconds[i] = it->second;
    }
  }
  std::vector<size_t> order(tasks.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return seconds[a] > seconds[b]; });
  return order;
}

DiskNode finalizePlan(const Skeleton& skeleton, std::vector<std::optional<TaskResult>>& results,
                      const ScanConfiguration& configuration, Accumulator& accumulator) {
  DiskNode node;
  node.name = std::string(lastComponent(skeleton.display));
  node.modified = skeleton.modified;
  if (skeleton.unreadable) {
    node.kind = DiskNode::Kind::unreadable;
    return node;
  }
  node.size = skeleton.fileBytes;
  node.files = skeleton.fileCount;
  std::vector<OrderedNode> candidates = skeleton.fileNodes;
  for (const auto& child : skeleton.children) {
    DiskNode childNode;
    if (child.split) {
      childNode = finalizePlan(*child.split, results, configuration, accumulator);
    } else if (auto& result = results[*child.task]) {
      childNode = std::move(result->node);
    }
    node.size = saturatingAdd(node.size, childNode.size);
    node.files = saturatingAdd(node.files, childNode.files);
    candidates.push_back({child.order, std::move(childNode)});
  }
  node.children = pruneOrdered(std::move(candidates), node.size, node.files, skeleton.display,
                               configuration);
  if (skeleton.junk) {
    accumulator.projectJunk.push_back(
        {skeleton.display, node.size, skeleton.parentModified, *skeleton.junk});
  }
  return node;
}

}  // namespace tallyfin
