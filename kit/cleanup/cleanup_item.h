#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace tallyfin {

// Safe rebuilds or downloads again by itself; review may hold the user's work.
enum class Safety { safe, review };

enum class CleanupCategory {
  xcode,
  simulators,
  javascript,
  python,
  aiModels,
  containers,
  agents,
  packageCaches,
  buildOutput,
  appCaches,
  logs,
  downloads,
  other,
};

inline constexpr size_t kCleanupCategoryCount = 13;

std::string_view caseName(Safety safety);
std::string_view caseName(CleanupCategory category);
std::string_view label(CleanupCategory category);

// One suggestion; its path is its identity.
struct CleanupItem {
  std::string path;
  std::string title;
  CleanupCategory category = CleanupCategory::other;
  Safety safety = Safety::review;
  int64_t size = 0;
  std::string detail;
  std::optional<int64_t> lastUsed;
  std::optional<int64_t> modified;
  std::optional<std::string> command;
  bool trashable = true;
  std::optional<std::string> project;

  bool operator==(const CleanupItem&) const = default;
};

// The items that no other item of the list holds, sorted so that a folder comes
// right before its own contents.
std::vector<CleanupItem> outermostItems(std::vector<CleanupItem> items);

void to_json(nlohmann::json& json, Safety safety);
void from_json(const nlohmann::json& json, Safety& safety);
void to_json(nlohmann::json& json, CleanupCategory category);
void from_json(const nlohmann::json& json, CleanupCategory& category);
void to_json(nlohmann::json& json, const CleanupItem& item);
void from_json(const nlohmann::json& json, CleanupItem& item);

}  // namespace tallyfin
