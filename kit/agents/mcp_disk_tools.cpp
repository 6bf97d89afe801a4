// The tools that ask the disk tools: models, projects, duplicates, System Data,
// Docker and the installed apps.

#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "kit/agents/apps_json.h"
#include "kit/agents/duplicates_json.h"
#include "kit/agents/json_values.h"
#include "kit/agents/mcp_server.h"
#include "kit/agents/system_data_json.h"
#include "kit/agents/tool_arguments.h"
#include "kit/base/paths.h"
#include "kit/base/saturating.h"
#include "kit/tools/ai_models.h"
#include "kit/tools/app_inventory.h"
#include "kit/tools/dev_projects.h"
#include "kit/tools/docker_probe.h"
#include "kit/tools/duplicate_finder.h"
#include "kit/tools/system_data.h"

namespace tallyfin {
namespace {

using nlohmann::json;
namespace Arg = ToolArguments;

using AgentJson::isoDateOrNull;
using AgentJson::orNull;

// The folder a search may look at: inside home, not ~/Library, not hidden.
std::string searchableFolder(const std::string& given, const std::string& home) {
  const std::string path = expandedHome(given, home);
  char resolved[PATH_MAX];
  struct stat info;
  if (::stat(path.c_str(), &info) != 0 || !::realpath(path.c_str(), resolved)) {
    throw ToolError("That folder doesn't exist.");
  }
  if (!S_ISDIR(info.st_mode)) throw ToolError("That's not a folder.");
  const std::string folder = resolved;
  bool hidden = false;
  if (isInside(folder, home)) {
    forEachComponent(std::string_view(folder).substr(home.size()),
                     [&](std::string_view part) { hidden = hidden || part.starts_with("."); });
  }
  if ((folder != home && !isInside(folder, home)) || folder == home + "/Library" ||
      isInside(folder, home + "/Library") || hidden) {
    throw ToolError("Only folders inside your home folder can be searched (not ~/Library or hidden folders).");
  }
  return folder;
}

}  // namespace

json MCPServer::aiModels(const json&) {
  const auto inventory = AIModelScanner::scan(settings_.home);
  int64_t total = 0;
  json models = json::array();
  for (const auto& model : inventory.models) {
    total = saturatingAdd(total, model.size);
    models.push_back({{"name", model.name},
                      {"source", sourceName(model.source)},
                      {"size", model.size},
                      {"format", model.format},
                      {"parameters", orNull(model.parameters)},
                      {"quantization", orNull(model.quantization)},
                      {"last_used", isoDateOrNull(model.lastUsed)},
                      {"path", model.path},
                      {"command", orNull(model.command())}});
  }
  int64_t twice = 0;
  json duplicates = json::array();
  for (const auto& duplicate : inventory.duplicates) {
    twice = saturatingAdd(twice, duplicate.wasted);
    json copies = json::array();
    for (const auto& copy : duplicate.copies) {
      copies.push_back({{"model", copy.modelID}, {"path", copy.path}, {"private_size", copy.privateSize}});
    }
    duplicates.push_back({{"file_size", duplicate.fileSize}, {"wasted", duplicate.wasted}, {"copies", copies}});
  }
  return {{"total_bytes", total},
          {"stored_twice_bytes", twice},
          {"models", std::move(models)},
          {"duplicates", std::move(duplicates)}};
}

json MCPServer::devProjects(const json& arguments) {
  const int64_t staleDays = Arg::whole(arguments, "stale_days", ProjectScanner::kDefaultStaleDays, 1, 36'500);
  auto projects = ProjectScanner::withGit(ProjectScanner::projects(report()->items));
  std::stable_sort(projects.begin(), projects.end(),
                   [](const DevProject& a, const DevProject& b) { return a.clutterSize > b.clutterSize; });
  const double now = clock();
  json list = json::array();
  for (const auto& project : projects) {
    json clutter = json::array();
    for (const auto& item : project.clutter) clutter.push_back({{"path", item.path}, {"size", item.size}});
    list.push_back({{"path", project.path},
                    {"clutter_bytes", project.clutterSize},
                    {"stale", project.isStale(now, static_cast<int>(staleDays))},
                    {"last_activity", isoDateOrNull(project.lastActivity)},
                    {"branch", project.git ? orNull(project.git->branch) : json(nullptr)},
                    {"uncommitted_changes", project.git ? orNull(project.git->dirty) : json(nullptr)},
                    {"clutter", std::move(clutter)}});
  }
  return {{"stale_days", staleDays}, {"projects", std::move(list)}};
}

json MCPServer::findDuplicates(const json& arguments) {
  const auto folder = Arg::text(arguments, "folder");
  const int64_t minimumMB = Arg::whole(arguments, "min_size_mb", 5, 1, 10'240);
  AgentJson::DuplicatesFound found;
  DuplicateSearch search;
  search.home = settings_.home;
  std::vector<DuplicateCandidate> candidates;
  if (folder) {
    found.folder = searchableFolder(*folder, settings_.home);
    search.minimum = minimumMB * 1'000'000;
    auto collected = DuplicateFinder::collect(*found.folder, search);
    candidates = std::move(collected.candidates);
    found.truncated = collected.truncated;
  } else {
    search.minimum = DuplicateFinder::kDefaultMinimum;
    candidates = DuplicateFinder::candidates(report()->largeFiles);
  }
  DuplicateCache cache(settings_.store);
  search.cache = &cache;
  found.minimum = search.minimum;
  found.groups = DuplicateFinder::find(candidates, search);
  (void)cache.save();  // a cache that cannot be saved only costs the next search time
  return AgentJson::duplicates(found);
}

json MCPServer::systemData(const json&) {
  return AgentJson::systemData(SystemDataScanner::forThisSystem(*report(), settings_.home));
}

json MCPServer::dockerStatus(const json&) {
  const DockerReport docker = DockerProbe::collect(settings_.home);
  json usage = json::array();
  for (const auto& row : docker.usage) {
    usage.push_back({{"type", row.type},
                     {"count", row.count},
                     {"active", row.active},
                     {"size", row.size},
                     {"reclaimable", row.reclaimable}});
  }
  json disks = json::array();
  for (const auto& disk : docker.disks) {
    disks.push_back({{"name", disk.name},
                     {"path", disk.path},
                     {"logical", disk.logical},
                     {"allocated", disk.allocated},
                     {"shrink_command", orNull(disk.shrinkCommand)}});
  }
  json commands = json::array();
  for (const auto& command : DockerProbe::kCommands) {
    commands.push_back({{"title", command.title}, {"command", command.command}, {"explanation", command.explanation}});
  }
  json result = {{"docker_cli", orNull(docker.cli)},
                 {"running", docker.running},
                 {"status", docker.status()},
                 {"usage", std::move(usage)},
                 {"vm_disks", std::move(disks)},
                 {"commands", std::move(commands)}};
  if (!docker.disks.empty()) result["note"] = DockerProbe::kShrinkNote;
  return result;
}

json MCPServer::listApps(const json&) {
  return AgentJson::apps(
      AppInventory::gather(settings_.applicationFolders, settings_.home, settings_.flatpakCli, clock()));
}

}  // namespace tallyfin
