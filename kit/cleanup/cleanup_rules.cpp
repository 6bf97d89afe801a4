#include "kit/cleanup/cleanup_rules.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <unordered_set>

#include "kit/base/paths.h"
#include "kit/base/text.h"
#include "kit/cleanup/rule_table.h"
#include "kit/platform/user_folders.h"
#include "kit/scan/directory_reader.h"

namespace tallyfin {
namespace {

using C = CleanupCategory;

constexpr std::array<ProjectKindRow, 13> kProjectKinds = {{
    {C::javascript, "node_modules", Safety::safe,
     "Installed npm dependencies. `npm install` restores them."},
    {C::javascript, "JS build cache", Safety::safe,
     "Framework build output (Next.js, Turbo, Vite\u2026). Rebuilt on the next build."},
    {C::xcode, "Project DerivedData", Safety::safe, "An Xcode build folder inside a project."},
    {C::buildOutput, "SwiftPM .build", Safety::safe, "Swift Package Manager build folder."},
    {C::buildOutput, "CocoaPods Pods", Safety::safe, "Installed pods. `pod install` restores them."},
    {C::buildOutput, "Rust target", Safety::safe, "Cargo build output. `cargo build` regenerates it."},
    {C::buildOutput, "Maven target", Safety::safe, "Maven build output."},
    {C::buildOutput, "Gradle build", Safety::safe, "Gradle / Android build output."},
    {C::buildOutput, "Flutter build", Safety::safe, "Flutter build output."},
    {C::buildOutput, "Project .gradle", Safety::safe, "Per-project Gradle cache."},
    {C::buildOutput, ".dart_tool", Safety::safe,
     "Dart / Flutter tool cache. `flutter pub get` restores it."},
    {C::python, "Python tool cache", Safety::safe, "mypy / pytest / ruff / tox cache."},
    {C::python, "Virtual environment", Safety::review,
     "A Python virtualenv. Recreate it with `pip install -r requirements.txt`."},
}};

constexpr std::string_view kSeparator = " \u00B7 ";
constexpr std::string_view kWorktreeDetail =
    "A git worktree an AI coding agent created for a session. Remove it once its branch is "
    "merged or abandoned, then run `git worktree prune`.";
constexpr std::array<std::string_view, 5> kInstallerExtensions = {"dmg", "pkg", "iso", "xip",
                                                                  "mpkg"};

// Where coding agents keep the worktrees they make, relative to the home folder,
// with how many folder levels below that one worktree sits.
struct WorktreeStore {
  std::string_view under;
  std::string_view agent;
  int depth;
};
constexpr std::array<WorktreeStore, 5> kWorktreeStores = {{
    {"/.codex/worktrees", "Codex", 1},
    {"/.cursor/worktrees", "Cursor", 2},
    {"/.crystal/worktrees", "Crystal", 1},
    {"/conductor/workspaces", "Conductor", 2},
    {"/.claude/worktrees", "Claude Code", 1},
}};
// Claude Code also puts worktrees inside the project: <project>/.claude/worktrees/<name>.
// Projects sit a few levels below home; the walk looks no deeper than this.
constexpr int kProjectWorktreeDepth = 5;

// The pattern that reaches one worktree of a store: its folder and one "*" per level.
std::string worktreePattern(std::string_view home, const WorktreeStore& store) {
  std::string pattern = std::string(home) + std::string(store.under);
  for (int level = 0; level < store.depth; ++level) pattern += "/*";
  return pattern;
}

bool isInstaller(std::string_view name) {
  const size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return false;
  const std::string extension = lowercased(name.substr(dot + 1));
  return std::find(kInstallerExtensions.begin(), kInstallerExtensions.end(), extension) !=
         kInstallerExtensions.end();
}

// "MyApp-" followed by Xcode's 28 lowercase letters names the project MyApp.
std::string tidyDerivedDataName(std::string_view name) {
  constexpr size_t kHashLength = 28;
  if (name.size() <= kHashLength + 1 || name[name.size() - kHashLength - 1] != '-') {
    return std::string(name);
  }
  const std::string_view hash = name.substr(name.size() - kHashLength);
  const bool lowercase =
      std::all_of(hash.begin(), hash.end(), [](char c) { return c >= 'a' && c <= 'z'; });
  return lowercase ? std::string(name.substr(0, name.size() - kHashLength - 1)) : std::string(name);
}

std::string_view componentFromEnd(std::string_view path, int position) {
  std::string_view rest = path;
  for (int i = 1; i < position && !rest.empty(); ++i) rest = parentPath(rest);
  return lastComponent(rest);
}

std::string wildcardDisplayName(const Rule& rule, std::string_view path) {
  if (rule.tidyDerivedData) return tidyDerivedDataName(lastComponent(path));
  if (endsWith(path, "/Caches")) return std::string(componentFromEnd(path, 4));
  return std::string(componentFromEnd(path, rule.nameFromEnd));
}

std::string commandFor(const Rule& rule, std::string_view name) {
  std::string command = *rule.command;
  if (const size_t at = command.find("{name}"); at != std::string::npos) {
    command.replace(at, 6, shellQuoted(name));
  }
  return command;
}

std::optional<int64_t> modifiedOf(const DiskNode& node) {
  if (node.modified == 0) return std::nullopt;
  return node.modified;
}

// Whether `path` matches `pattern` component by component, "*" taking any one name
// that is not in `skip`.
bool matchesPattern(std::string_view path, std::string_view pattern,
                    const std::set<std::string, std::less<>>& skip) {
  std::vector<std::string_view> pieces, wanted;
  forEachComponent(path, [&](std::string_view piece) { pieces.push_back(piece); });
  forEachComponent(pattern, [&](std::string_view piece) { wanted.push_back(piece); });
  if (pieces.size() != wanted.size()) return false;
  for (size_t i = 0; i < pieces.size(); ++i) {
    if (wanted[i] == "*") {
      if (skip.contains(pieces[i])) return false;
    } else if (wanted[i] != pieces[i]) {
      return false;
    }
  }
  return true;
}

void collectProjectWorktrees(const DiskNode& node, const std::string& path, int depth,
                             std::vector<PathNode>& found) {
  if (depth > kProjectWorktreeDepth) return;
  for (const auto& child : node.children) {
    if (child.kind != DiskNode::Kind::folder) continue;
    const std::string childPath = joinPath(path, child.name);
    if (child.name == ".claude") {
      if (const DiskNode* worktrees = child.child("worktrees")) {
        for (const auto& tree : worktrees->children) {
          if (tree.kind == DiskNode::Kind::smaller) continue;
          found.emplace_back(joinPath(joinPath(childPath, "worktrees"), tree.name), &tree);
        }
      }
      continue;
    }
    if (child.name.starts_with(".") || child.name == "node_modules") continue;
    collectProjectWorktrees(child, childPath, depth + 1, found);
  }
}

std::string agentOfWorktree(std::string_view path, std::string_view home) {
  for (const auto& store : kWorktreeStores) {
    const std::string prefix = std::string(home) + std::string(store.under) + "/";
    if (path.starts_with(prefix)) return std::string(store.agent);
  }
  return "Claude Code";
}

class ItemList {
 public:
  void add(CleanupItem item) {
    if (item.size < CleanupRules::kMinimumItemSize) return;
    if (!taken_.insert(item.path).second) return;
    items_.push_back(std::move(item));
  }

  std::vector<CleanupItem> sorted() && {
    std::stable_sort(items_.begin(), items_.end(),
                     [](const CleanupItem& a, const CleanupItem& b) { return a.size > b.size; });
    return std::move(items_);
  }

 private:
  std::unordered_set<std::string> taken_;
  std::vector<CleanupItem> items_;
};

// The folder an Ollama manifest for a model name sits in ("llama3:8b" lives under
// library/llama3/8b); the item's path names the model without touching its blobs.
std::string ollamaManifestPath(std::string_view home, std::string_view name) {
  std::string model(name), tag = "latest";
  if (const size_t colon = model.rfind(':'); colon != std::string::npos) {
    tag = model.substr(colon + 1);
    model.resize(colon);
  }
  if (model.find('/') == std::string::npos) model = "library/" + model;
  return std::string(home) + "/.ollama/models/manifests/registry.ollama.ai/" + model + "/" + tag;
}

}  // namespace

const ProjectKindRow& projectKindRow(ProjectJunkKind kind) {
  return kProjectKinds[static_cast<size_t>(kind)];
}

CleanupRules::CleanupRules(std::string home) : home_(std::move(home)) {}

std::vector<Rule> CleanupRules::rules() const {
  std::vector<Rule> all = fixedRules(home_);
  for (auto& rule : editorRules(home_)) all.push_back(std::move(rule));
  for (auto& rule : linuxRules(home_)) all.push_back(std::move(rule));
  return all;
}

std::vector<PathNode> CleanupRules::expand(const DiskNode& tree, std::string_view pattern) {
  std::vector<PathNode> reached = {{"", &tree}};
  forEachComponent(pattern, [&](std::string_view piece) {
    std::vector<PathNode> next;
    for (const auto& [path, node] : reached) {
      const std::string prefix = path.empty() ? "/" : path + "/";
      if (piece == "*") {
        for (const auto& child : node->children) {
          if (child.kind != DiskNode::Kind::smaller) next.emplace_back(prefix + child.name, &child);
        }
      } else if (const DiskNode* child = node->child(piece)) {
        next.emplace_back(prefix + std::string(piece), child);
      }
    }
    reached = std::move(next);
  });
  return reached;
}

std::vector<PathNode> CleanupRules::agentWorktrees(const DiskNode& tree) const {
  std::vector<PathNode> found;
  for (const auto& store : kWorktreeStores) {
    for (auto& hit : expand(tree, worktreePattern(home_, store))) found.push_back(std::move(hit));
  }
  if (const DiskNode* home = tree.node(home_)) collectProjectWorktrees(*home, home_, 0, found);
  return found;
}

std::vector<CleanupItem> CleanupRules::items(const DiskNode& tree,
                                             const std::vector<ProjectJunk>& projectJunk,
                                             const ToolSnapshot& tools) const {
  ItemList list;

  const std::string devices = home_ + "/Library/Developer/CoreSimulator/Devices/";
  for (const auto& device : tools.devices) {
    const std::string path = devices + device.udid;
    const DiskNode* node = tree.node(path);
    if (!node) continue;
    std::string runtimeName = runtimeDisplayName(device.runtime);
    for (const auto& runtime : tools.runtimes) {
      if (runtime.runtimeIdentifier == device.runtime) runtimeName = runtime.name;
    }
    list.add({path, device.name + std::string(kSeparator) + runtimeName, C::simulators,
              Safety::review, node->size,
              device.isAvailable ? "A simulator with the apps and data you installed in it. Xcode "
                                   "can create a fresh one any time."
                                 : "Its runtime is no longer installed \u2014 this simulator "
                                   "can't even boot.",
              device.lastBooted, modifiedOf(*node), "xcrun simctl delete " + shellQuoted(device.udid),
              true, std::nullopt});
  }
  for (const auto& runtime : tools.runtimes) {
    list.add({runtime.path, runtime.name + " Simulator runtime", C::simulators, Safety::review,
              runtime.size,
              "A downloaded Simulator runtime. Keep the one you build against; remove older ones.",
              runtime.lastUsed, std::nullopt,
              "xcrun simctl runtime delete " + shellQuoted(runtime.identifier), false, std::nullopt});
  }
  for (const auto& model : tools.ollama) {
    list.add({ollamaManifestPath(home_, model.name), "Ollama \u00B7 " + model.name, C::aiModels,
              Safety::review, model.size,
              "A local model pulled with Ollama. `ollama pull` downloads it again.", std::nullopt,
              model.modified, "ollama rm " + shellQuoted(model.name), false, std::nullopt});
  }

  for (const Rule& rule : rules()) {
    const bool wildcard = rule.pattern.find('*') != std::string::npos;
    for (const auto& [path, node] : expand(tree, rule.pattern)) {
      if (wildcard && rule.skip.contains(lastComponent(path))) continue;
      if (node->size < rule.minSize) continue;
      const std::string name = wildcard ? wildcardDisplayName(rule, path) : std::string();
      list.add({path, wildcard ? rule.title + std::string(kSeparator) + name : rule.title,
                rule.category, rule.safety, node->size, rule.detail, std::nullopt, modifiedOf(*node),
                rule.command ? std::optional(commandFor(rule, name)) : std::nullopt, rule.trashable,
                std::nullopt});
    }
  }

  const std::string macTrash = home_ + "/.Trash/";
  const std::string platformTrash = platform::applicationSupportFolder() + "/Trash/";
  for (const auto& junk : projectJunk) {
    if (junk.path.starts_with(macTrash) || junk.path.starts_with(platformTrash)) continue;
    const ProjectKindRow& row = projectKindRow(junk.kind);
    const std::string project(parentPath(junk.path));
    list.add({junk.path,
              std::string(row.title) + std::string(kSeparator) + std::string(lastComponent(project)),
              row.category, row.safety, junk.size, std::string(row.detail), std::nullopt,
              junk.projectModified, std::nullopt, true, project});
  }

  for (const auto& [path, node] : agentWorktrees(tree)) {
    list.add({path,
              agentOfWorktree(path, home_) + " worktree" + std::string(kSeparator) +
                  std::string(lastComponent(path)),
              C::agents, Safety::review, node->size, std::string(kWorktreeDetail), std::nullopt,
              modifiedOf(*node), std::nullopt, true, std::nullopt});
  }

  const std::string downloads = home_ + "/Downloads";
  if (const DiskNode* folder = tree.node(downloads)) {
    for (const auto& child : folder->children) {
      if (child.kind == DiskNode::Kind::smaller || !isInstaller(child.name)) continue;
      list.add({joinPath(downloads, child.name), child.name, C::downloads, Safety::safe, child.size,
                "An installer you already downloaded.", std::nullopt, modifiedOf(child),
                std::nullopt, true, std::nullopt});
    }
  }
  return std::move(list).sorted();
}

bool CleanupRules::recognizes(std::string_view path, std::string_view home) {
  const CleanupRules rules{std::string(home)};
  for (const Rule& rule : rules.rules()) {
    if (matchesPattern(path, rule.pattern, rule.skip)) return true;
  }
  const std::string_view parent = parentPath(path);
  const std::string_view name = lastComponent(path);
  if (parent == std::string(home) + "/Library/Developer/CoreSimulator/Devices") return true;
  if (parent == std::string(home) + "/Downloads" && isInstaller(name)) return true;
  for (const auto& store : kWorktreeStores) {
    if (matchesPattern(path, worktreePattern(home, store), {})) return true;
  }
  if (lastComponent(parentPath(parent)) == ".claude" && lastComponent(parent) == "worktrees") {
    return true;
  }
  // Project junk is recognised again from the disk: its marker files and its own venv mark.
  DirectoryReader reader({});
  const auto siblings = reader.list(std::string(parent));
  if (!siblings) return false;
  SiblingMarkers markers;
  for (const auto& entry : *siblings) markers.note(entry.name);
  struct stat info;
  const bool isVenv = ::lstat((std::string(path) + "/pyvenv.cfg").c_str(), &info) == 0;
  return ProjectRules::kind(name, markers, path, isVenv, home).has_value();
}

std::string runtimeDisplayName(std::string_view identifier) {
  const size_t dot = identifier.rfind('.');
  std::string name(dot == std::string_view::npos ? identifier : identifier.substr(dot + 1));
  bool first = true;
  for (auto& c : name) {
    if (c != '-') continue;
    c = first ? ' ' : '.';
    first = false;
  }
  return name;
}

}  // namespace tallyfin
