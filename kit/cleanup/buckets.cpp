#include "kit/cleanup/buckets.h"

#include <map>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "kit/base/paths.h"

namespace tallyfin {
namespace {

int64_t checkedAdd(int64_t a, int64_t b) {
  int64_t sum;
  // A sum past 9 EB means the tree is corrupt; carrying on would show nonsense.
  if (__builtin_add_overflow(a, b, &sum)) throw std::overflow_error("bucket size overflow");
  return sum;
}

class BucketWalk {
 public:
  BucketWalk(const std::vector<BucketRule>& rules) {
    for (const auto& rule : rules) byPath_.emplace(rule.path, rule.key);
  }

  void walk(const DiskNode& node, const std::string& path, std::string_view key) {
    if (const auto it = byPath_.find(path); it != byPath_.end()) key = it->second;
    const std::string prefix = path == "/" ? "/" : path + "/";
    if (!node.children.empty() && ruleBelow(prefix)) {
      int64_t descended = 0;
      for (const auto& child : node.children) {
        if (child.kind == DiskNode::Kind::file || child.kind == DiskNode::Kind::smaller) continue;
        walk(child, prefix + child.name, key);
        descended = checkedAdd(descended, child.size);
      }
      add(key, node.size - descended);
    } else {
      add(key, node.size);
    }
  }

  const std::map<std::string_view, int64_t>& totals() const { return totals_; }

 private:
  bool ruleBelow(const std::string& prefix) const {
    const auto it = byPath_.lower_bound(prefix);
    return it != byPath_.end() && it->first.starts_with(prefix);
  }

  void add(std::string_view key, int64_t size) { totals_[key] = checkedAdd(totals_[key], size); }

  std::map<std::string, std::string_view, std::less<>> byPath_;
  std::map<std::string_view, int64_t> totals_;
};

}  // namespace

void to_json(nlohmann::json& json, const Bucket& bucket) {
  json = nlohmann::json{{"key", bucket.key}, {"label", bucket.label}, {"size", bucket.size}};
}

void from_json(const nlohmann::json& json, Bucket& bucket) {
  bucket.key = json.at("key").get<std::string>();
  bucket.label = json.at("label").get<std::string>();
  bucket.size = json.at("size").get<int64_t>();
}

namespace Analysis {

std::vector<BucketRule> bucketRules(const std::string& h) {
  const auto rule = [](std::string path, std::string_view key, std::string_view label) {
    return BucketRule{std::move(path), key, label};
  };
  constexpr std::string_view apps = "Applications", xcode = "Xcode & simulators",
                             projects = "Code projects", ai = "AI models", pkg = "Package caches",
                             vms = "Docker & VMs", caches = "App caches";
  return {
      rule("/Applications", "apps", apps),
      rule(h + "/Applications", "apps", apps),
      rule(h + "/Library/Developer", "xcode", xcode),
      rule("/System/Library/AssetsV2", "xcode", xcode),
      rule(h + "/Desktop/Projects", "projects", projects),
      rule(h + "/Projects", "projects", projects),
      rule(h + "/Developer", "projects", projects),
      rule(h + "/code", "projects", projects),
      rule(h + "/src", "projects", projects),
      rule(h + "/GitHub", "projects", projects),
      rule(h + "/repos", "projects", projects),
      rule(h + "/.ollama", "ai", ai),
      rule(h + "/.lmstudio", "ai", ai),
      rule(h + "/.cache/huggingface", "ai", ai),
      rule(h + "/.npm", "pkg", pkg),
      rule(h + "/.gradle", "pkg", pkg),
      rule(h + "/.m2", "pkg", pkg),
      rule(h + "/.cargo", "pkg", pkg),
      rule(h + "/go", "pkg", pkg),
      rule(h + "/.bun", "pkg", pkg),
      rule(h + "/Library/pnpm", "pkg", pkg),
      rule(h + "/.cache", "pkg", pkg),
      rule(h + "/.colima", "vms", vms),
      rule(h + "/Library/Containers/com.docker.docker", "vms", vms),
      rule(h + "/Library/Group Containers/HUAQ24HBR6.dev.orbstack/data", "vms", vms),
      rule(h + "/.orbstack", "vms", vms),
      rule(h + "/.local/share/containers/podman/machine", "vms", vms),
      rule(h + "/.android", "vms", vms),
      rule(h + "/.docker", "vms", vms),
      rule(h + "/Library/Caches", "caches", caches),
      rule("/Library/Caches", "caches", caches),
      rule(h + "/Library", "appdata", "App data"),
      rule(h + "/Desktop", "docs", "Desktop & Documents"),
      rule(h + "/Documents", "docs", "Desktop & Documents"),
      rule(h + "/Downloads", "downloads", "Downloads"),
      rule(h + "/Pictures", "media", "Photos, music & video"),
      rule(h + "/Movies", "media", "Photos, music & video"),
      rule(h + "/Music", "media", "Photos, music & video"),
      rule(h + "/.Trash", "trash", "Trash"),
      rule(h, "home", "Other in home folder"),
      rule("/", "system", "System & shared"),
      // Linux's own places.
      rule("/usr", "system", "System & shared"),
      rule("/var", "system", "System & shared"),
      rule("/var/lib/docker", "vms", vms),
      rule("/var/lib/containers", "vms", vms),
      rule(h + "/.local/share/containers", "vms", vms),
      rule("/snap", "apps", apps),
      rule("/var/lib/snapd", "apps", apps),
      rule("/var/lib/flatpak", "apps", apps),
      rule(h + "/.local/share/flatpak", "apps", apps),
      rule(h + "/.var/app", "appdata", "App data"),
      rule(h + "/.local/share/Trash", "trash", "Trash"),
      rule(h + "/Videos", "media", "Photos, music & video"),
      rule(h + "/projects", "projects", projects),
  };
}

std::vector<Bucket> buckets(const DiskNode& tree, const std::string& home) {
  const auto rules = bucketRules(home);
  BucketWalk walk(rules);
  walk.walk(tree, "/", "system");
  std::vector<Bucket> result;
  for (const auto& rule : rules) {
    const auto it = walk.totals().find(rule.key);
    if (it == walk.totals().end() || it->second == 0) continue;
    bool listed = false;
    for (const auto& bucket : result) listed = listed || bucket.key == rule.key;
    if (!listed) result.push_back({std::string(rule.key), std::string(rule.label), it->second});
  }
  return result;
}

}  // namespace Analysis
}  // namespace tallyfin
