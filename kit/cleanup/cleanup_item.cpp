#include "kit/cleanup/cleanup_item.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "kit/base/json_fields.h"
#include "kit/base/paths.h"

namespace tallyfin {
namespace {

constexpr std::array<std::string_view, kCleanupCategoryCount> kCategoryNames = {
    "xcode",      "simulators",    "javascript",  "python",    "aiModels",
    "containers", "agents",        "packageCaches", "buildOutput", "appCaches",
    "logs",       "downloads",     "other"};

constexpr std::array<std::string_view, kCleanupCategoryCount> kCategoryLabels = {
    "Xcode",
    "Simulators",
    "JavaScript & Node",
    "Python",
    "AI models",
    "Docker, VMs & emulators",
    "AI agent leftovers",
    "Package manager caches",
    "Build output",
    "App caches",
    "Logs",
    "Downloads",
    "Other"};

}  // namespace

std::string_view caseName(Safety safety) { return safety == Safety::safe ? "safe" : "review"; }

std::string_view caseName(CleanupCategory category) {
  return kCategoryNames[static_cast<size_t>(category)];
}

std::string_view label(CleanupCategory category) {
  return kCategoryLabels[static_cast<size_t>(category)];
}

std::vector<CleanupItem> outermostItems(std::vector<CleanupItem> items) {
  // With "/" appended, a folder sorts directly before its own contents ("a", "a/b",
  // then "a-c"), so one look at the last kept item is enough.
  std::sort(items.begin(), items.end(), [](const CleanupItem& a, const CleanupItem& b) {
    return a.path + "/" < b.path + "/";
  });
  std::vector<CleanupItem> outermost;
  for (auto& item : items) {
    if (!outermost.empty() && isInside(item.path, outermost.back().path)) continue;
    outermost.push_back(std::move(item));
  }
  return outermost;
}

void to_json(nlohmann::json& json, Safety safety) { json = caseName(safety); }

void from_json(const nlohmann::json& json, Safety& safety) {
  const auto text = json.get<std::string>();
  if (text == "safe") {
    safety = Safety::safe;
  } else if (text == "review") {
    safety = Safety::review;
  } else {
    throw std::invalid_argument("unknown safety " + text);
  }
}

void to_json(nlohmann::json& json, CleanupCategory category) { json = caseName(category); }

void from_json(const nlohmann::json& json, CleanupCategory& category) {
  const auto text = json.get<std::string>();
  for (size_t i = 0; i < kCategoryNames.size(); ++i) {
    if (kCategoryNames[i] == text) {
      category = static_cast<CleanupCategory>(i);
      return;
    }
  }
  throw std::invalid_argument("unknown category " + text);
}

void to_json(nlohmann::json& json, const CleanupItem& item) {
  json = nlohmann::json{{"path", item.path},         {"title", item.title},
                        {"category", item.category}, {"safety", item.safety},
                        {"size", item.size},         {"detail", item.detail},
                        {"trashable", item.trashable}};
  setOptional(json, "lastUsed", item.lastUsed);
  setOptional(json, "modified", item.modified);
  setOptional(json, "command", item.command);
  setOptional(json, "project", item.project);
}

void from_json(const nlohmann::json& json, CleanupItem& item) {
  item.path = json.at("path").get<std::string>();
  item.title = json.at("title").get<std::string>();
  item.category = json.at("category").get<CleanupCategory>();
  item.safety = json.at("safety").get<Safety>();
  item.size = json.at("size").get<int64_t>();
  item.detail = json.at("detail").get<std::string>();
  item.trashable = json.at("trashable").get<bool>();
  item.lastUsed = optionalField<int64_t>(json, "lastUsed");
  item.modified = optionalField<int64_t>(json, "modified");
  item.command = optionalField<std::string>(json, "command");
  item.project = optionalField<std::string>(json, "project");
}

}  // namespace tallyfin
