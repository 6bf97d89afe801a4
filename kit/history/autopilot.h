#pragma once

// Picks old, safe clutter to move to the Trash after a scheduled scan, without
// the app being opened. The move itself is one undoable batch of the trash service.

#include <set>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "kit/cleanup/cleanup_item.h"
#include "kit/trash/trash_service.h"

namespace tallyfin {

struct AutopilotSettings {
  bool enabled = false;
  int minAgeDays = 30;
  bool operator==(const AutopilotSettings&) const = default;
};

void to_json(nlohmann::json& json, const AutopilotSettings& settings);
void from_json(const nlohmann::json& json, AutopilotSettings& settings);

namespace Autopilot {

inline constexpr std::string_view kBatchLabel = "Autopilot";
// The ages the settings offer, from two weeks to three months.
inline constexpr int kFewestDays = 14;
inline constexpr int kMostDays = 90;

// Safe, trashable items unused for longer than the settings allow, outside the
// keep list and Downloads; a folder and something inside it never both.
std::vector<CleanupItem> select(const std::vector<CleanupItem>& items,
                                const std::set<std::string>& keep,
                                const AutopilotSettings& settings, double now);

// The selection as the trash service takes it: one batch, origin autopilot, each
// item expected to be what the scan's tree saw at its path.
std::vector<TrashItem> batch(const std::vector<CleanupItem>& selected, const DiskNode& tree);

}  // namespace Autopilot
}  // namespace tallyfin
