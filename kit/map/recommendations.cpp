#include "kit/map/recommendations.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <tuple>

#include <nlohmann/json.hpp>

#include "kit/base/json_fields.h"
#include "kit/base/paths.h"
#include "kit/base/saturating.h"
#include "kit/cleanup/hotspots.h"
#include "kit/platform/trash_location.h"
#include "kit/store/file_kind.h"
#include "kit/store/format.h"

namespace tallyfin {
namespace {

constexpr double kSecondsPerDay = 86'400;
constexpr std::string_view kTitleSeparator = " \u00B7 ";  // "node_modules · app"

// What a group of items or files says, before it is put into words.
struct Group {
  std::vector<std::pair<std::string, int64_t>> members;  // path and size, largest first
  int64_t size = 0;
  size_t stale = 0;
  bool allSafe = true;
  std::string single;  // how to name it when it has one member

  void add(std::string path, int64_t bytes, bool old, std::string name) {
    if (members.empty()) single = std::move(name);
    members.emplace_back(std::move(path), bytes);
    size = saturatingAdd(size, bytes);
    stale += old ? 1 : 0;
  }

  size_t count() const { return members.size(); }

  std::vector<std::string> paths() const {
    std::vector<std::string> paths;
    for (const auto& member : members) paths.push_back(member.first);
    return paths;
  }
};

std::string counted(size_t count, std::string_view one, std::string_view many) {
  return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

std::string_view verdict(Safety safety) {
  return safety == Safety::safe ? "Safe to remove" : "Review before removing";
}

// "holds 9.20 GB; 11 of them untouched for 90 days"
std::string holdsClause(const Group& group, std::string_view staleWords, int staleDays) {
  std::string text = (group.count() == 1 ? " holds " : " hold ") + Format::bytes(group.size);
  if (group.stale == 0) return text;
  text += "; ";
  if (group.count() > 1) {
    text +=
        group.stale == group.count() ? "all of them " : std::to_string(group.stale) + " of them ";
  }
  return text + std::string(staleWords) + " for " + std::to_string(staleDays) + " days";
}

// The deepest folder that holds every path; the path itself when there is one.
std::string commonFolder(const std::vector<std::string>& paths) {
  if (paths.empty()) return {};
  std::string common = paths.front();
  for (const auto& path : paths) {
    while (!common.empty() && common != path && !isInside(path, common)) {
      common = std::string(parentPath(common));
    }
  }
  return common;
}

bool atOrInside(std::string_view path, std::string_view folder) {
  return path == folder || isInside(path, folder);
}

class Recommender {
 public:
  Recommender(const ScanReport& report, const HiddenPaths& hidden,
              const RecommendationOptions& options)
      : report_(report),
        hidden_(hidden),
        options_(options),
        trash_(platform::trashFolder(report.home)) {
    std::vector<CleanupItem> visible;
    for (const auto& item : report.items) {
      if (!hidden.contains(item.path)) visible.push_back(item);
    }
    // A suggestion inside another is counted with it, never twice.
    items_ = outermostItems(std::move(visible));
    std::stable_sort(items_.begin(), items_.end(),
                     [](const CleanupItem& a, const CleanupItem& b) { return a.size > b.size; });
    cutoff_ = report.date - options.staleDays * kSecondsPerDay;
  }

  std::vector<Recommendation> all(const std::vector<FolderTrend>& growing) {
    trash();
    projectJunk();
    cleanupGroups();
    largeFiles();
    growingFolders(growing);
    bigFolders();
    std::stable_sort(found_.begin(), found_.end(), [](const auto& a, const auto& b) {
      return std::tie(b.size, a.kind, a.text) < std::tie(a.size, b.kind, b.text);
    });
    if (found_.size() > options_.limit) found_.resize(options_.limit);
    return std::move(found_);
  }

 private:
  bool stale(std::optional<int64_t> when) const {
    return when && *when > 0 && static_cast<double>(*when) < cutoff_;
  }

  std::string shortPath(std::string_view path) const {
    return Format::shortPath(path, report_.home);
  }

  void addItemGroup(Recommendation::Kind kind, const Group& group, std::string subject) {
    if (group.size < options_.minimum || group.count() == 0) return;
    const Safety safety = group.allSafe ? Safety::safe : Safety::review;
    Recommendation recommendation;
    recommendation.kind = kind;
    recommendation.text = (group.count() == 1 ? group.single : subject) +
                          holdsClause(group, "untouched", options_.staleDays) + " \u2014 " +
                          std::string(verdict(safety));
    recommendation.size = group.size;
    recommendation.safety = safety;
    recommendation.items = group.paths();
    recommendation.mapPath = commonFolder(recommendation.items);
    found_.push_back(std::move(recommendation));
  }

  // What is already thrown away: it only takes emptying the Trash.
  void trash() {
    const DiskNode* node = report_.tree.node(trash_);
    if (!node || node->size < options_.minimum) return;
    Recommendation recommendation;
    recommendation.kind = Recommendation::Kind::trash;
    recommendation.text =
        "The Trash holds " + Format::bytes(node->size) + "; emptying it gives the space back";
    recommendation.size = node->size;
    recommendation.paths = {trash_};
    recommendation.mapPath = trash_;
    found_.push_back(std::move(recommendation));
  }

  // Rebuildable project folders of one kind, across every project that has one.
  void projectJunk() {
    std::map<std::string, Group> byKind;  // by the kind's title, which starts every such title
    for (const auto& item : items_) {
      if (!item.project) continue;
      const auto cut = item.title.find(kTitleSeparator);
      Group& group = byKind[item.title.substr(0, cut)];
      group.add(item.path, item.size, stale(item.lastUsed ? item.lastUsed : item.modified),
                item.title);
      group.allSafe = group.allSafe && item.safety == Safety::safe;
    }
    for (const auto& [title, group] : byKind) {
      addItemGroup(Recommendation::Kind::projectJunk, group,
                   title + " in " + counted(group.count(), "project", "projects"));
    }
  }

  // The other suggestions, by category and safety.
  void cleanupGroups() {
    std::map<std::pair<CleanupCategory, Safety>, Group> byCategory;
    for (const auto& item : items_) {
      if (item.project) continue;
      Group& group = byCategory[{item.category, item.safety}];
      group.add(item.path, item.size, stale(item.lastUsed ? item.lastUsed : item.modified),
                item.title);
      group.allSafe = group.allSafe && item.safety == Safety::safe;
    }
    for (const auto& [key, group] : byCategory) {
      addItemGroup(Recommendation::Kind::cleanupGroup, group,
                   std::string(label(key.first)) + ": " + counted(group.count(), "item", "items"));
    }
  }

  bool covered(std::string_view path) const {
    return std::any_of(items_.begin(), items_.end(),
                       [&](const CleanupItem& item) { return atOrInside(path, item.path); });
  }

  // Large files no suggestion covers, by the kind of data they hold.
  void largeFiles() {
    std::map<FileKind, Group> byKind;
    for (const auto& file : report_.largeFiles) {
      if (hidden_.contains(file.path) || covered(file.path) || isInside(file.path, trash_))
        continue;
      const auto forced = file_kind::overrideForPath(parentPath(file.path));
      const FileKind kind = forced ? *forced : file_kind::of(lastComponent(file.path));
      byKind[kind].add(file.path, file.size, stale(file.accessed), shortPath(file.path));
    }
    for (const auto& [kind, group] : byKind) {
      if (group.size < options_.minimum) continue;
      Recommendation recommendation;
      recommendation.kind = Recommendation::Kind::largeFiles;
      const std::string subject = group.count() == 1
                                      ? group.single
                                      : std::string(file_kind::label(kind)) + ": " +
                                            counted(group.count(), "large file", "large files");
      recommendation.text = subject + holdsClause(group, "not opened", options_.staleDays) +
                            (group.count() == 1 ? " \u2014 look at it on the map"
                                                : " \u2014 look through them on the map");
      recommendation.size = group.size;
      recommendation.paths = group.paths();
      recommendation.mapPath = commonFolder(recommendation.paths);
      found_.push_back(std::move(recommendation));
      named_.insert(named_.end(), group.members.begin(), group.members.end());
    }
  }

  // Folders that grew over the sampled scans, with the safe suggestions inside them.
  void growingFolders(const std::vector<FolderTrend>& growing) {
    for (const auto& trend : growing) {
      if (trend.delta < options_.minimumGrowth || trend.series.size() < 2 ||
          hidden_.contains(trend.path)) {
        continue;
      }
      const double span = trend.series.back().date - trend.series.front().date;
      const auto days = std::max<int64_t>(1, std::llround(span / kSecondsPerDay));
      Recommendation recommendation;
      recommendation.kind = Recommendation::Kind::growingFolder;
      recommendation.text = shortPath(trend.path) + " grew " + Format::bytes(trend.delta) + " in " +
                            counted(static_cast<size_t>(days), "day", "days");
      if (trend.perWeek > 0) {
        recommendation.text += ", about " + Format::bytes(std::llround(trend.perWeek)) + " a week";
      }
      int64_t safeBytes = 0;
      for (const auto& item : items_) {
        if (item.safety != Safety::safe || !atOrInside(item.path, trend.path)) continue;
        safeBytes = saturatingAdd(safeBytes, item.size);
        recommendation.items.push_back(item.path);
      }
      if (safeBytes > 0) {
        recommendation.text += "; it holds " + Format::bytes(safeBytes) + " of Safe cleanup items";
        recommendation.safety = Safety::safe;
      }
      recommendation.size = trend.delta;
      recommendation.paths = {trend.path};
      recommendation.mapPath = trend.path;
      grown_.insert(trend.path);
      found_.push_back(std::move(recommendation));
    }
  }

  // Big concrete folders with no suggestion in, around or above them: space the
  // rules know nothing about, which only the user can judge. A folder that is
  // mostly large files already named is left to that recommendation.
  void bigFolders() {
    for (const auto& spot : Analysis::hotspots(report_.tree, report_.home, options_.minimum)) {
      if (spot.isFile || hidden_.contains(spot.path) || grown_.contains(spot.path) ||
          atOrInside(spot.path, trash_)) {
        continue;
      }
      const bool touched = std::any_of(items_.begin(), items_.end(), [&](const CleanupItem& item) {
        return atOrInside(item.path, spot.path) || isInside(spot.path, item.path);
      });
      int64_t namedBytes = 0;
      for (const auto& [path, size] : named_) {
        if (isInside(path, spot.path)) namedBytes = saturatingAdd(namedBytes, size);
      }
      if (touched || namedBytes * 2 > spot.size) continue;
      Recommendation recommendation;
      recommendation.kind = Recommendation::Kind::bigFolder;
      recommendation.text =
          shortPath(spot.path) + " holds " + Format::bytes(spot.size) +
          " and none of it is a cleanup suggestion \u2014 look through it on the map";
      recommendation.size = spot.size;
      recommendation.paths = {spot.path};
      recommendation.mapPath = spot.path;
      found_.push_back(std::move(recommendation));
    }
  }

  const ScanReport& report_;
  const HiddenPaths& hidden_;
  const RecommendationOptions& options_;
  std::string trash_;               // everything below it is already thrown away
  std::vector<CleanupItem> items_;  // visible, outermost, largest first
  double cutoff_ = 0;
  std::set<std::string, std::less<>> grown_;
  std::vector<std::pair<std::string, int64_t>> named_;  // large files already recommended
  std::vector<Recommendation> found_;
};

}  // namespace

std::string_view caseName(Recommendation::Kind kind) {
  switch (kind) {
    case Recommendation::Kind::projectJunk:
      return "projectJunk";
    case Recommendation::Kind::cleanupGroup:
      return "cleanupGroup";
    case Recommendation::Kind::largeFiles:
      return "largeFiles";
    case Recommendation::Kind::growingFolder:
      return "growingFolder";
    case Recommendation::Kind::bigFolder:
      return "bigFolder";
    case Recommendation::Kind::trash:
      return "trash";
  }
  return "cleanupGroup";
}

void to_json(nlohmann::json& json, const Recommendation& recommendation) {
  json = nlohmann::json{{"kind", std::string(caseName(recommendation.kind))},
                        {"text", recommendation.text},
                        {"size", recommendation.size},
                        {"items", recommendation.items},
                        {"paths", recommendation.paths},
                        {"mapPath", recommendation.mapPath}};
  setOptional(json, "safety", recommendation.safety);
}

namespace Analysis {

std::vector<Recommendation> recommendations(const ScanReport& report, const HiddenPaths& hidden,
                                            const std::vector<FolderTrend>& growing,
                                            const RecommendationOptions& options) {
  return Recommender(report, hidden, options).all(growing);
}

}  // namespace Analysis
}  // namespace tallyfin
