#pragma once

// The program's knowledge of what may be removed: rule tables that turn a scan's
// tree, project junk and tool reports into cleanup suggestions. Nothing outside
// these tables is ever suggested.

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kit/cleanup/cleanup_item.h"
#include "kit/cleanup/tool_snapshot.h"
#include "kit/scan/disk_node.h"
#include "kit/scan/project_rules.h"

namespace tallyfin {

struct Rule {
  std::string pattern;  // absolute; a "*" component stands for any one name
  CleanupCategory category = CleanupCategory::other;
  std::string title;
  Safety safety = Safety::safe;
  std::string detail;
  // The tool's own clean command; "{name}" stands for the item's display name.
  std::optional<std::string> command;
  bool trashable = true;
  std::set<std::string, std::less<>> skip;  // names a "*" must not take
  bool tidyDerivedData = false;
  int64_t minSize = 524'288;
  int nameFromEnd = 1;  // which component from the end names a wildcard item
};

// How project junk of one kind is shown.
struct ProjectKindRow {
  CleanupCategory category;
  std::string_view title;
  Safety safety;
  std::string_view detail;
};

const ProjectKindRow& projectKindRow(ProjectJunkKind kind);

// A node of the tree with its full path.
using PathNode = std::pair<std::string, const DiskNode*>;

class CleanupRules {
 public:
  static constexpr int64_t kMinimumItemSize = 524'288;

  explicit CleanupRules(std::string home);

  // The fixed rules, the editor rules, then the Linux rules, for this home folder.
  std::vector<Rule> rules() const;

  // Every suggestion of one scan, largest first; a path is claimed by its first producer.
  std::vector<CleanupItem> items(const DiskNode& tree, const std::vector<ProjectJunk>& projectJunk,
                                 const ToolSnapshot& tools) const;

  // Every node a pattern reaches; "*" never takes the folded `smaller` node.
  static std::vector<PathNode> expand(const DiskNode& tree, std::string_view pattern);

  // Git worktrees that coding agents made for their sessions.
  std::vector<PathNode> agentWorktrees(const DiskNode& tree) const;

  // Whether a path is still one of the rules' own items, judged by the path and,
  // for project junk, by the marker files on disk beside it.
  static bool recognizes(std::string_view path, std::string_view home);

 private:
  std::string home_;
};

// "com.apple.CoreSimulator.SimRuntime.iOS-17-2" as people say it: "iOS 17.2".
std::string runtimeDisplayName(std::string_view identifier);

}  // namespace tallyfin
