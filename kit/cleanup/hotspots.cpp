#include "kit/cleanup/hotspots.h"

#include <algorithm>
#include <set>

#include <nlohmann/json.hpp>

#include "kit/base/paths.h"

namespace tallyfin {
namespace {

class HotspotWalk {
 public:
  HotspotWalk(const std::string& home, int64_t minimum) : minimum_(minimum) {
    for (const char* system : {"/", "/Users", "/home", "/usr", "/usr/lib", "/usr/share",
                               "/usr/local", "/var", "/var/lib", "/opt", "/Library",
                               "/System", "/System/Library", "/Applications", "/private",
                               "/private/var", "/snap", "/root", "/srv"}) {
      generic_.insert(system);
    }
    for (std::string_view at = home; !at.empty() && at != "/"; at = parentPath(at)) {
      generic_.insert(std::string(at));
    }
    for (const char* under :
         {"/Library", "/Library/Application Support", "/Library/Containers",
          "/Library/Group Containers", "/Library/Caches", "/Library/Developer", "/.cache",
          "/.local", "/.local/share", "/.config", "/Documents", "/Desktop", "/Projects", "/code",
          "/src", "/projects"}) {
      generic_.insert(home + under);
    }
  }

  void visit(const DiskNode& node, const std::string& path) {
    if (node.size < minimum_ || node.kind == DiskNode::Kind::smaller) return;
    if (node.kind == DiskNode::Kind::file) {
      found_.push_back({path, node.size, true});
      return;
    }
    const bool generic = generic_.contains(path);
    const bool concentrated = std::any_of(node.children.begin(), node.children.end(), [&](auto& c) {
      return c.kind != DiskNode::Kind::smaller && c.size >= minimum_ && c.size * 2 > node.size;
    });
    if (!generic && !concentrated) {
      found_.push_back({path, node.size, false});
      return;
    }
    for (const auto& child : node.children) visit(child, joinPath(path, child.name));
  }

  std::vector<Hotspot> result(size_t limit) && {
    std::stable_sort(found_.begin(), found_.end(),
                     [](const Hotspot& a, const Hotspot& b) { return a.size > b.size; });
    if (found_.size() > limit) found_.resize(limit);
    return std::move(found_);
  }

 private:
  int64_t minimum_;
  std::set<std::string, std::less<>> generic_;
  std::vector<Hotspot> found_;
};

}  // namespace

void to_json(nlohmann::json& json, const Hotspot& hotspot) {
  json = nlohmann::json{{"path", hotspot.path}, {"size", hotspot.size}, {"isFile", hotspot.isFile}};
}

void from_json(const nlohmann::json& json, Hotspot& hotspot) {
  hotspot.path = json.at("path").get<std::string>();
  hotspot.size = json.at("size").get<int64_t>();
  hotspot.isFile = json.at("isFile").get<bool>();
}

namespace Analysis {

std::vector<Hotspot> hotspots(const DiskNode& tree, const std::string& home, int64_t minimum,
                              size_t limit) {
  HotspotWalk walk(home, minimum);
  walk.visit(tree, "/");
  return std::move(walk).result(limit);
}

}  // namespace Analysis
}  // namespace tallyfin
