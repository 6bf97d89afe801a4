#include "kit/agents/mcp_tools.h"

#include "kit/platform/system_words.h"

namespace tallyfin {
namespace {

using nlohmann::json;

json limit(int defaultValue) {
  return {{"type", "integer"}, {"minimum", 1}, {"maximum", 200}, {"default", defaultValue}};
}

json confirmSchema() {
  return {{"type", "boolean"}, {"default", false}, {"description", "true only after the user agreed"}};
}

json tokenSchema() {
  return {{"type", "string"}, {"description", "From the preview; required with confirm=true"}};
}

std::vector<McpTool> buildTable() {
  const json none = json::object();
  return {
      {"disk_status", "Disk status",
       "Free/used space, disk health and how much is safe to clean, from the last scan (instant). Includes the "
       "scan's age.",
       none, {}, true, false},
      {"scan_disk", "Scan the disk",
       "Rescans the whole disk (15\u201360 s) and saves the result for the app too. Use when disk_status is old or "
       "the user asks.",
       none, {}, false, false},
      {"list_cleanup_suggestions", "Cleanup suggestions",
       "What can be removed, biggest first, with safety (safe/review), category, size, last use and the native "
       "cleanup command if any.",
       {{"safety", {{"type", "string"}, {"enum", json::array({"safe", "review"})}, {"description", "Only this safety level"}}},
        {"category",
         {{"type", "string"},
          {"description", R"(Only this category, e.g. "Xcode", "AI models", "JavaScript & Node")"}}},
        {"limit", limit(25)}},
       {}, true, false},
      {"biggest_folders", "Biggest folders",
       "The children of a folder with their sizes, biggest first \u2014 browse the disk like the Disk Map. Default "
       "path is the home folder.",
       {{"path", {{"type", "string"}, {"description", "Absolute path or ~/\u2026"}}}, {"limit", limit(20)}}, {},
       true, false},
      {"large_files", "Large files",
       "Files over 100 MB, biggest first, optionally only ones not modified for a while.",
       {{"min_age_days", {{"type", "integer"}, {"minimum", 0}, {"default", 0}}}, {"limit", limit(25)}}, {}, true,
       false},
      {"ai_models", "Local AI models",
       "Ollama, LM Studio and Hugging Face models with size, parameters, quantization, last use, and weights "
       "stored more than once.",
       none, {}, true, false},
      {"dev_projects", "Code projects",
       "Projects with their rebuildable clutter (node_modules, build output, venvs\u2026), last activity and git "
       "state; stale ones flagged.",
       {{"stale_days", {{"type", "integer"}, {"minimum", 1}, {"default", 90}}}}, {}, true, false},
      {"find_duplicates", "Duplicate files",
       "Identical files among the user's own files (sampled; confirmed byte for byte before any removal). Without "
       "folder: the scan's big files (100 MB+). With folder (inside the home folder, e.g. ~/Downloads): every file "
       "of at least min_size_mb there.",
       {{"folder", {{"type", "string"}, {"description", "Folder inside the home folder; ~ is allowed"}}},
        {"min_size_mb",
         {{"type", "integer"},
          {"minimum", 1},
          {"maximum", 10240},
          {"default", 5},
          {"description", "With folder: smallest file compared, in MB"}}}},
       {}, true, false},
      {"system_data", "System Data explained",
       "What fills the system's share of the disk on " + std::string(platform::systemName()) +
           " (the system itself, caches, logs, swap, containers, app data\u2026) and what to do about each.",
       none, {}, true, false},
      {"docker_status", "Docker usage",
       "Docker images/containers/volumes/build cache sizes (when Docker runs) and the engines' virtual disk files.",
       none, {}, true, false},
      {"disk_history", "Disk history",
       "Used space over time, growth per week, when the disk would be full at this pace, and folders that keep "
       "growing.",
       none, {}, true, false},
      {"move_to_trash", "Move to Trash",
       "Moves cleanup suggestions to the Trash (undoable). Without confirm=true it only previews. Only paths "
       "returned by list_cleanup_suggestions with trashable=true are accepted; personal data is always refused.",
       {{"paths", {{"type", "array"}, {"items", {{"type", "string"}}}, {"minItems", 1}, {"maxItems", 200}}},
        {"confirm", confirmSchema()},
        {"preview_token", tokenSchema()}},
       {"paths"}, false, true},
      {"list_apps", "Installed apps",
       "Apps in /Applications and ~/Applications with size, version and when each was last opened, plus leftovers "
       "of apps that are no longer installed. Apps that are part of the system (or Tallyfin) say why they can't be "
       "removed.",
       none, {}, true, false},
      {"uninstall_app", "Uninstall an app",
       "Moves an app and its leftovers in ~/Library (or, with orphan, the leftovers of an app that's already gone) "
       "to the Trash, as one undoable batch. Without confirm=true it only previews: what would move, which "
       "leftovers are included by default (not: items that may hold the user's documents, or matched only by "
       "name). Never removes parts of " + std::string(platform::systemName()) + ".",
       {{"app", {{"type", "string"}, {"description", "Path of the .app, from list_apps"}}},
        {"orphan", {{"type", "string"}, {"description", "Bundle id of a removed app's leftovers, from list_apps"}}},
        {"include",
         {{"type", "array"},
          {"items", {{"type", "string"}}},
          {"description", "Leftover paths to include instead of the defaults (from the preview)"}}},
        {"confirm", confirmSchema()},
        {"preview_token", tokenSchema()}},
       {}, false, true},
      {"undo_trash", "Undo move to Trash",
       "Puts back the most recent batch moved to the Trash (or the given batch id).",
       {{"batch", {{"type", "string"}, {"description", "Batch id from move_to_trash; default the latest"}}}}, {},
       false, false},
  };
}

}  // namespace

json McpTool::listing() const {
  return {{"name", name},
          {"title", title},
          {"description", description},
          {"inputSchema",
           {{"type", "object"},
            {"properties", properties},
            {"required", required},
            {"additionalProperties", false}}},
          {"annotations",
           {{"title", title},
            {"readOnlyHint", readOnly},
            {"destructiveHint", destructive},
            {"idempotentHint", readOnly},
            {"openWorldHint", false}}}};
}

const std::vector<McpTool>& mcpTools() {
  static const std::vector<McpTool> table = buildTable();
  return table;
}

}  // namespace tallyfin
