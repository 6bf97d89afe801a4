#pragma once

// How often the disk is scanned without the app: never, every day or every
// Monday, always at 10:00.

#include <optional>
#include <string>
#include <string_view>

namespace tallyfin {

enum class Schedule { off, daily, weekly };

inline constexpr std::string_view kBundleIdentifier = "com.morvek.Tallyfin";

// "off", "daily", "weekly": how the preference stores it.
std::string_view caseName(Schedule schedule);
// The schedule a stored name stands for; none for anything else.
std::optional<Schedule> scheduleNamed(std::string_view name);

// "Off", "Every day at 10:00", "Every Monday at 10:00".
std::string_view label(Schedule schedule);

// The launch agent's job label, "com.morvek.Tallyfin.weekly"; none for off.
std::optional<std::string> agentLabel(Schedule schedule);

// The launch agent's property list, "com.morvek.Tallyfin.weekly.plist"; none for off.
std::optional<std::string> plistName(Schedule schedule);

}  // namespace tallyfin
