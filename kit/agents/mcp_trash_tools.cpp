// The tools that move things: always a preview first, then a confirmation that
// carries the preview's signed token, then one batch of the trash service.

#include <algorithm>
#include <set>

#include "kit/agents/disk_status.h"
#include "kit/agents/mcp_server.h"
#include "kit/agents/tool_arguments.h"
#include "kit/agents/trash_json.h"
#include "kit/base/saturating.h"
#include "kit/base/text.h"
#include "kit/tools/app_inventory.h"

namespace tallyfin {
namespace {

using nlohmann::json;
namespace Arg = ToolArguments;

constexpr size_t kMostPaths = 200;
constexpr const char* kMovedNote = "In the Trash \u2014 empty it to get the space back. Undo with undo_trash.";
constexpr const char* kMoveNext =
    "Show this to the user. Only if they agree, call again with the same paths, confirm=true and this "
    "preview_token (valid 10 minutes).";
constexpr const char* kUninstallNext =
    "Show this to the user. Only if they agree, call again with the same app/orphan and include, confirm=true "
    "and this preview_token (valid 10 minutes).";
constexpr const char* kMovePreviewFirst =
    "Preview first: call move_to_trash without confirm, show the result to the user, then confirm with the same "
    "paths and the preview_token it returned (valid 10 minutes).";
constexpr const char* kUninstallPreviewFirst =
    "Preview first: call uninstall_app without confirm, show the result to the user, then confirm with the same "
    "arguments and the preview_token it returned (valid 10 minutes).";

constexpr const char* kNotAsPreviewed = "Not as it was in the preview \u2014 preview again.";

using Refusals = std::vector<std::pair<std::string, std::string>>;

const PreviewedItem* previewed(const std::vector<PreviewedItem>& items, const std::string& path) {
  const auto it = std::find_if(items.begin(), items.end(), [&](const PreviewedItem& item) { return item.path == path; });
  return it == items.end() ? nullptr : &*it;
}

json refusalList(const Refusals& refusals) {
  json list = json::array();
  for (const auto& [path, reason] : refusals) list.push_back({{"path", path}, {"reason", reason}});
  return list;
}

std::vector<std::string> distinctInOrder(const std::vector<std::string>& paths) {
  std::vector<std::string> distinct;
  std::set<std::string> seen;
  for (const auto& path : paths) {
    if (seen.insert(path).second) distinct.push_back(path);
  }
  return distinct;
}

json movedResult(const TrashOutcome& outcome, Refusals refused) {
  json moved = json::array();
  for (const auto& entry : outcome.moved) moved.push_back(entry.path);
  for (const auto& failure : outcome.failed) refused.push_back(failure);
  json result = {{"moved", std::move(moved)},
                 {"freed_bytes", outcome.freedBytes()},
                 {"batch", outcome.moved.empty() ? json(nullptr) : json(outcome.batch)},
                 {"refused", refusalList(refused)},
                 {"note", kMovedNote}};
  if (outcome.journalError) result["journal_error"] = *outcome.journalError;
  if (outcome.journalNote) result["journal_note"] = *outcome.journalNote;
  return result;
}

std::string notIncludedReason(const AppLeftover& leftover) {
  if (leftover.mayHoldDocuments) return "may hold the user's documents";
  if (leftover.matchedByName) return "matched by name only";
  return "not in include";
}

json leftoverEntry(const AppLeftover& leftover) {
  return {{"path", leftover.path}, {"kind", AppUninstaller::title(leftover.kind)}, {"size", leftover.size}};
}

}  // namespace

std::string MCPServer::issuePreview(const std::vector<std::string>& paths, std::vector<PreviewedItem> items) {
  const int64_t expires = static_cast<int64_t>(clock()) + PreviewSigner::kValidSeconds;
  const std::string token = signer_.token(paths, expires, PreviewLedger::binding(items));
  previews_.remember(token, static_cast<double>(expires), std::move(items));
  return token;
}

std::vector<PreviewedItem> MCPServer::redeemPreview(const std::optional<std::string>& token,
                                                    const std::vector<std::string>& paths, const std::string& tool,
                                                    const char* previewFirst) {
  const double now = clock();
  PreviewLedger::Preview* preview = token ? previews_.find(*token, now) : nullptr;
  if (!preview) throw ToolError(previewFirst);
  switch (signer_.check(*token, paths, now, PreviewLedger::binding(preview->items))) {
    case PreviewSigner::State::invalid:
      throw ToolError(previewFirst);
    case PreviewSigner::State::expired:
      throw ToolError("That preview_token expired (a preview is valid 10 minutes). Call " + tool +
                      " without confirm again, show the result to the user, then confirm with the new preview_token.");
    case PreviewSigner::State::valid:
      break;
  }
  if (preview->used) {
    throw ToolError("That preview_token was already used. Call " + tool +
                    " without confirm for a new preview, show it to the user, then confirm with its preview_token.");
  }
  preview->used = true;
  return preview->items;
}

json MCPServer::moveToTrash(const json& arguments) {
  const auto current = report();
  const auto paths = distinctInOrder(Arg::texts(arguments, "paths").value_or(std::vector<std::string>{}));
  if (paths.empty()) throw ToolError("paths is empty");
  if (paths.size() > kMostPaths) throw ToolError("At most 200 paths per call.");
  const bool confirm = Arg::flag(arguments, "confirm");
  const auto token = Arg::text(arguments, "preview_token");

  const TrashService trash = trashService();
  Refusals refused;
  std::vector<const CleanupItem*> accepted;
  for (const auto& path : paths) {
    const auto item = std::find_if(current->items.begin(), current->items.end(),
                                   [&](const CleanupItem& candidate) { return candidate.path == path; });
    if (item == current->items.end()) {
      refused.emplace_back(path, "Not a cleanup suggestion from the last scan");
    } else if (!item->trashable) {
      refused.emplace_back(path, "Cleaned with its own tool: " + item->command.value_or("see the app"));
    } else if (auto reason = trash.refusal({path, item->size, TrashItem::Origin::suggestion,
                                            ItemIdentity::inScan(current->tree, path)})) {
      refused.emplace_back(path, *reason);
    } else {
      accepted.push_back(&*item);
    }
  }

  if (!confirm) {
    int64_t total = 0;
    json wouldMove = json::array();
    std::vector<PreviewedItem> shown;
    for (const CleanupItem* item : accepted) {
      // What the user is shown is what may move: this very item, at this size.
      const auto identity = ItemIdentity::of(item->path);
      if (!identity) {
        refused.emplace_back(item->path, "No longer exists");
        continue;
      }
      shown.push_back({item->path, *identity, item->size});
      total = saturatingAdd(total, item->size);
      wouldMove.push_back(AgentJson::suggestionItem(*item));
    }
    return {{"preview", true},
            {"would_move", std::move(wouldMove)},
            {"total_bytes", total},
            {"refused", refusalList(refused)},
            {"preview_token", issuePreview(paths, std::move(shown))},
            {"next", kMoveNext}};
  }
  const auto shown = redeemPreview(token, paths, "move_to_trash", kMovePreviewFirst);
  std::vector<TrashItem> items;
  for (const CleanupItem* item : accepted) {
    const PreviewedItem* seen = previewed(shown, item->path);
    if (!seen || seen->size != item->size) {
      refused.emplace_back(item->path, kNotAsPreviewed);
    } else {
      items.push_back({item->path, item->size, TrashItem::Origin::suggestion, seen->identity});
    }
  }
  return movedResult(trash.trash(items, std::string(AgentJson::kAgentBatchLabel), clock()), std::move(refused));
}

json MCPServer::uninstallApp(const json& arguments) {
  const auto appPath = Arg::text(arguments, "app");
  const auto orphanID = Arg::text(arguments, "orphan");
  const auto include = Arg::texts(arguments, "include");
  const bool confirm = Arg::flag(arguments, "confirm");
  const auto token = Arg::text(arguments, "preview_token");
  if (appPath.has_value() == orphanID.has_value()) {
    throw ToolError("Give app (a path) or orphan (a bundle id) from list_apps.");
  }

  // An app needs only the installed apps (for the names they share); removed apps' leftovers need it all.
  AppInventory inventory;
  if (appPath) {
    inventory.apps = AppUninstaller::installedApps(settings_.applicationFolders, settings_.home);
  } else {
    inventory = AppInventory::gather(settings_.applicationFolders, settings_.home, settings_.flatpakCli, clock());
  }
  const InstalledApp* app = nullptr;
  const OrphanGroup* orphan = nullptr;
  std::vector<AppLeftover> leftovers;
  json subject;
  if (appPath) {
    const auto found = std::find_if(inventory.apps.begin(), inventory.apps.end(),
                                    [&](const InstalledApp& candidate) { return candidate.path == *appPath; });
    if (found == inventory.apps.end()) throw ToolError("Not an app \u2014 use a path from list_apps.");
    app = &*found;
    if (app->refusal) throw ToolError(*app->refusal);
    leftovers = AppUninstaller::leftovers(*app, inventory.apps, settings_.home);
    subject = {{"name", app->name}, {"bundle_id", app->bundleID}, {"path", app->path}, {"size", app->size}};
  } else {
    const auto found = std::find_if(inventory.removed.begin(), inventory.removed.end(), [&](const OrphanGroup& g) {
      return lowercased(g.bundleID) == lowercased(*orphanID);
    });
    if (found == inventory.removed.end()) {
      throw ToolError("No leftovers of a removed app with that bundle id \u2014 use one from list_apps.");
    }
    orphan = &*found;
    leftovers = orphan->leftovers;
    subject = {{"bundle_id", orphan->bundleID}, {"name_guess", orphan->displayName()}};
  }

  Refusals refused;
  std::vector<AppLeftover> chosen;
  json notIncluded = json::array();
  for (const auto& leftover : leftovers) {
    const bool wanted = include ? std::find(include->begin(), include->end(), leftover.path) != include->end()
                                : leftover.tickedByDefault();
    if (wanted) {
      chosen.push_back(leftover);
    } else {
      notIncluded.push_back({{"path", leftover.path}, {"reason", notIncludedReason(leftover)}});
    }
  }
  for (const auto& path : include.value_or(std::vector<std::string>{})) {
    const bool known = std::any_of(leftovers.begin(), leftovers.end(), [&](const AppLeftover& l) { return l.path == path; });
    if (!known) refused.emplace_back(path, "Not one of this app's leftovers");
  }

  std::vector<std::string> moving;
  std::vector<int64_t> sizes;
  int64_t total = 0;
  json wouldMove = json::array();
  if (app) {
    moving.push_back(app->path);
    sizes.push_back(app->size);
    total = app->size;
    wouldMove.push_back({{"path", app->path}, {"kind", "Application"}, {"size", app->size}});
  }
  for (const auto& leftover : chosen) {
    moving.push_back(leftover.path);
    sizes.push_back(leftover.size);
    total = saturatingAdd(total, leftover.size);
    wouldMove.push_back(leftoverEntry(leftover));
  }

  if (!confirm) {
    std::vector<PreviewedItem> shown;
    for (size_t i = 0; i < moving.size(); ++i) {
      if (auto identity = ItemIdentity::of(moving[i])) shown.push_back({moving[i], *identity, sizes[i]});
    }
    return {{"preview", true},
            {app ? "app" : "orphan", std::move(subject)},
            {"would_move", std::move(wouldMove)},
            {"not_included", std::move(notIncluded)},
            {"total_bytes", total},
            {"refused", refusalList(refused)},
            {"preview_token", issuePreview(moving, std::move(shown))},
            {"next", kUninstallNext}};
  }
  const auto shown = redeemPreview(token, moving, "uninstall_app", kUninstallPreviewFirst);
  for (size_t i = 0; i < moving.size(); ++i) {
    const PreviewedItem* seen = previewed(shown, moving[i]);
    const auto now = ItemIdentity::of(moving[i]);
    if (!seen || !now || !seen->identity.matches(*now) || seen->size != sizes[i]) {
      throw ToolError(moving[i] + " changed since the preview \u2014 call uninstall_app without confirm again.");
    }
  }
  const TrashService trash = trashService();
  const TrashOutcome outcome = app ? AppUninstaller::uninstall(trash, *app, chosen, settings_.home, clock())
                                   : AppUninstaller::removeLeftovers(trash, *orphan, chosen, settings_.home, clock());
  return movedResult(outcome, std::move(refused));
}

json MCPServer::undoTrash(const json& arguments) {
  const auto wanted = Arg::text(arguments, "batch");
  const TrashService trash = trashService();
  const auto chosen = trash.batchToUndo(wanted, clock());
  if (!chosen) throw ToolError("Nothing to undo.");
  return AgentJson::undoResult(chosen->id, trash.undo(chosen->id));
}

}  // namespace tallyfin
