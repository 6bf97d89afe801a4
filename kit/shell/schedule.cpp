#include "kit/shell/schedule.h"

namespace tallyfin {

std::string_view caseName(Schedule schedule) {
  switch (schedule) {
    case Schedule::daily:
      return "daily";
    case Schedule::weekly:
      return "weekly";
    case Schedule::off:
      break;
  }
  return "off";
}

std::optional<Schedule> scheduleNamed(std::string_view name) {
  for (const Schedule schedule : {Schedule::off, Schedule::daily, Schedule::weekly}) {
    if (caseName(schedule) == name) return schedule;
  }
  return std::nullopt;
}

std::string_view label(Schedule schedule) {
  switch (schedule) {
    case Schedule::daily:
      return "Every day at 10:00";
    case Schedule::weekly:
      return "Every Monday at 10:00";
    case Schedule::off:
      break;
  }
  return "Off";
}

std::optional<std::string> agentLabel(Schedule schedule) {
  if (schedule == Schedule::off) return std::nullopt;
  return std::string(kBundleIdentifier) + "." + std::string(caseName(schedule));
}

std::optional<std::string> plistName(Schedule schedule) {
  const auto agent = agentLabel(schedule);
  if (!agent) return std::nullopt;
  return *agent + ".plist";
}

}  // namespace tallyfin
