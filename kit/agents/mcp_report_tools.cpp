// The tools that read the saved report and the history beside it.

#include <algorithm>
#include <cmath>

#include "kit/agents/disk_status.h"
#include "kit/agents/history_json.h"
#include "kit/agents/mcp_server.h"
#include "kit/agents/tool_arguments.h"
#include "kit/base/paths.h"
#include "kit/base/saturating.h"
#include "kit/base/text.h"
#include "kit/cleanup/keep_list.h"
#include "kit/history/history_files.h"
#include "kit/store/format.h"

namespace tallyfin {
namespace {

using nlohmann::json;
namespace Arg = ToolArguments;

constexpr double kDay = 86'400;

}  // namespace

json MCPServer::diskStatus(const json&) {
  return AgentJson::diskStatus(*report(), KeepList::paths(settings_.store), clock());
}

json MCPServer::scanDisk(const json&) {
  ScanConfiguration configuration =
      settings_.scanRoot ? ScanConfiguration(*settings_.scanRoot, settings_.home) : ScanConfiguration::wholeDisk(settings_.home);
  const ScanPipeline pipeline{settings_.store, configuration, NotificationSettings{}, settings_.probeTools,
                              ScanTrigger::manual};
  const CancelToken cancel;
  auto result = pipeline.run(cancel, clock());
  if (!result) throw ToolError(result.error().message);
  return AgentJson::diskStatus(result->report, KeepList::paths(settings_.store), clock());
}

json MCPServer::cleanupSuggestions(const json& arguments) {
  const auto safety = Arg::text(arguments, "safety");
  if (safety && *safety != "safe" && *safety != "review") throw ToolError("safety must be \"safe\" or \"review\"");
  const auto category = Arg::text(arguments, "category");
  const auto limit = static_cast<size_t>(Arg::whole(arguments, "limit", 25, 1, 200));
  const auto current = report();

  std::vector<const CleanupItem*> matching;
  for (const auto& item : current->items) {
    if (safety && caseName(item.safety) != *safety) continue;
    // The category as shown ("AI models") or as stored ("aiModels"), in any case.
    if (category && lowercased(label(item.category)) != lowercased(*category) &&
        lowercased(caseName(item.category)) != lowercased(*category)) {
      continue;
    }
    matching.push_back(&item);
  }
  std::stable_sort(matching.begin(), matching.end(),
                   [](const CleanupItem* a, const CleanupItem* b) { return a->size > b->size; });
  int64_t total = 0;
  json items = json::array();
  for (const CleanupItem* item : matching) {
    total = saturatingAdd(total, item->size);
    if (items.size() < limit) items.push_back(AgentJson::suggestionItem(*item));
  }
  return {{"total_bytes", total}, {"count", matching.size()}, {"items", std::move(items)}};
}

json MCPServer::biggestFolders(const json& arguments) {
  const std::string path = expandedHome(Arg::text(arguments, "path").value_or(settings_.home), settings_.home);
  const auto limit = static_cast<size_t>(Arg::whole(arguments, "limit", 20, 1, 200));
  const auto current = report();
  const DiskNode* node = current->tree.node(path);
  if (!node) throw ToolError(path + " isn't in the last scan (too small, or not scanned).");
  std::vector<const DiskNode*> children;
  for (const auto& child : node->children) children.push_back(&child);
  std::stable_sort(children.begin(), children.end(),
                   [](const DiskNode* a, const DiskNode* b) { return a->size > b->size; });
  json list = json::array();
  for (const DiskNode* child : children) {
    if (list.size() == limit) break;
    // The folded rest of small items has no path of its own.
    const bool smaller = child->kind == DiskNode::Kind::smaller;
    list.push_back({{"name", smaller ? std::string("Smaller items") : child->name},
                    {"path", smaller ? json(nullptr) : json(joinPath(path, child->name))},
                    {"size", child->size}});
  }
  return {{"path", path}, {"size", node->size}, {"children", std::move(list)}};
}

json MCPServer::largeFiles(const json& arguments) {
  const int64_t minAgeDays = Arg::whole(arguments, "min_age_days", 0, 0, 36'500);
  const auto limit = static_cast<size_t>(Arg::whole(arguments, "limit", 25, 1, 200));
  const auto current = report();
  const double before = clock() - static_cast<double>(minAgeDays) * kDay;
  int64_t total = 0;
  json files = json::array();
  for (const auto& file : current->largeFiles) {
    if (minAgeDays > 0 && static_cast<double>(file.modified) > before) continue;
    if (files.size() == limit) break;
    total = saturatingAdd(total, file.size);
    files.push_back({{"path", file.path}, {"size", file.size}, {"modified", Format::isoDate(file.modified)}});
  }
  return {{"total_bytes", total}, {"files", std::move(files)}};
}

json MCPServer::diskHistory(const json&) {
  return AgentJson::diskHistory(HistoryFiles::history(settings_.store), HistoryFiles::folderHistory(settings_.store),
                                clock());
}

}  // namespace tallyfin
