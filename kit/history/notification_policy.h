#pragma once

// Decides, after a scan, whether the user hears about it: at most one
// notification, low space first, then sudden growth, then cleanup worth doing,
// with cool-downs so that it does not nag.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include <nlohmann/json_fwd.hpp>

namespace tallyfin {

struct Notification {
  enum class Kind { lowSpace, growth, reclaimable, autopilot };
  Kind kind = Kind::lowSpace;
  std::string title;
  std::string body;
  bool operator==(const Notification&) const = default;
};

std::string_view caseName(Notification::Kind kind);

struct NotificationSettings {
  bool enabled = true;
  double lowSpaceFraction = 0.12;
  int64_t lowSpaceBytes = 26'843'545'600;
  int64_t growthBytes = 10'737'418'240;
  int64_t reclaimableBytes = 16'106'127'360;
  int64_t reclaimableStep = 5'368'709'120;
  double cooldownDays = 6.0;
  bool operator==(const NotificationSettings&) const = default;
};

struct NotificationState {
  std::map<std::string, double> lastSent;  // kind's case name to seconds since 1970
  int64_t lastReclaimable = 0;
  int64_t lastFree = 0;
  bool operator==(const NotificationState&) const = default;
};

// What the policy reads from a finished scan.
struct ScanFacts {
  struct Growth {
    std::string path;
    int64_t delta = 0;
  };
  struct Category {
    std::string label;
    int64_t size = 0;
  };
  int64_t total = 0;
  int64_t free = 0;
  std::optional<int64_t> usedDelta;
  int64_t reclaimableSafe = 0;
  int64_t reclaimableTotal = 0;
  std::optional<Growth> topGrowth;
  std::optional<Category> topCategory;
};

void to_json(nlohmann::json& json, const NotificationSettings& settings);
void from_json(const nlohmann::json& json, NotificationSettings& settings);
void to_json(nlohmann::json& json, const NotificationState& state);
void from_json(const nlohmann::json& json, NotificationState& state);

class NotificationPolicy {
 public:
  explicit NotificationPolicy(NotificationSettings settings) : settings_(settings) {}

  // The notification due, if any, and the state to save.
  std::pair<std::optional<Notification>, NotificationState> decide(const ScanFacts& facts,
                                                                   NotificationState state,
                                                                   double now) const;

 private:
  bool coolingDown(const NotificationState& state, Notification::Kind kind, double now) const;

  NotificationSettings settings_;
};

}  // namespace tallyfin
