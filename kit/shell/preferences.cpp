#include "kit/shell/preferences.h"

#include <array>
#include <filesystem>

#include "kit/base/paths.h"
#include "kit/base/small_file.h"
#include "kit/platform/user_folders.h"
#include "kit/base/atomic_file.h"
#include "kit/store/file_lock.h"

namespace tallyfin {
namespace {

using nlohmann::json;

constexpr int64_t kLargestFile = 1 << 20;
constexpr std::string_view kMigrated = "migrated.mossLedger";
constexpr std::string_view kLanguages = "AppleLanguages";

// What the former product kept that still means something here; the last five are
// view state of the app, carried over as they are.
constexpr std::array<std::string_view, 14> kLegacyKeys = {
    "schedule",           "autopilot",          "appearance",  "menuBar.show",
    "menuBar.showFree",   "menuBar.hideDock",   "projects.staleOnly",
    "projects.staleDays", "notificationSettings", "help.developerDetails",
    "cleanup.sort",       "map.mode",           "history.range", "whatsNew.seen"};

std::string_view key(Preferences::Flag flag) {
  switch (flag) {
    case Preferences::Flag::menuBarShow:
      return "menuBar.show";
    case Preferences::Flag::menuBarShowFree:
      return "menuBar.showFree";
    case Preferences::Flag::menuBarHideDock:
      return "menuBar.hideDock";
    case Preferences::Flag::updateCheck:
      return "updates.check";
    case Preferences::Flag::projectsStaleOnly:
      break;
  }
  return "projects.staleOnly";
}

bool defaultOf(Preferences::Flag flag) {
  return flag == Preferences::Flag::menuBarShow || flag == Preferences::Flag::menuBarShowFree ||
         flag == Preferences::Flag::updateCheck;
}

json objectIn(const std::string& path) {
  const auto text = readSmallFile(path, kLargestFile);
  if (!text) return json::object();
  json value = json::parse(*text, nullptr, false);
  return value.is_object() ? value : json::object();
}

constexpr std::array<Language, 6> kLanguagesOffered = {Language::system, Language::en, Language::de,
                                                       Language::zhHans, Language::ja, Language::tr};

}  // namespace

std::string_view caseName(Appearance appearance) {
  switch (appearance) {
    case Appearance::light:
      return "light";
    case Appearance::dark:
      return "dark";
    case Appearance::system:
      break;
  }
  return "system";
}

std::optional<std::string_view> languageCode(Language language) {
  switch (language) {
    case Language::en:
      return "en";
    case Language::de:
      return "de";
    case Language::zhHans:
      return "zh-Hans";
    case Language::ja:
      return "ja";
    case Language::tr:
      return "tr";
    case Language::system:
      break;
  }
  return std::nullopt;
}

std::string_view displayName(Language language) {
  switch (language) {
    case Language::en:
      return "English";
    case Language::de:
      return "Deutsch";
    case Language::zhHans:
      return "简体中文";
    case Language::ja:
      return "日本語";
    case Language::tr:
      return "Türkçe";
    case Language::system:
      break;
  }
  return "System";
}

Preferences Preferences::standard() { return Preferences(platform::settingsFolder() + "/Tallyfin/preferences.json"); }

std::string Preferences::legacyFile() { return platform::settingsFolder() + "/MossLedger/preferences.json"; }

json Preferences::values() const { return objectIn(file_); }

Status Preferences::update(const std::function<void(json&)>& change) const {
  const std::string folder(parentPath(file_));
  std::error_code ignored;
  if (std::filesystem::create_directories(folder, ignored)) {
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, ignored);
  }
  return withFileLock(file_ + ".lock", [&]() -> Status {
    json current = values();
    change(current);
    return AtomicFile::write(current.dump(2) + "\n", file_, 0600);
  });
}

Status Preferences::set(std::string_view name, json value) const {
  return update([&](json& current) { current[std::string(name)] = std::move(value); });
}

template <class T>
std::optional<T> Preferences::read(std::string_view name) const {
  const json all = values();
  const auto found = all.find(std::string(name));
  if (found == all.end()) return std::nullopt;
  try {
    return found->get<T>();
  } catch (const json::exception&) {
    return std::nullopt;
  }
}

Status Preferences::migrateLegacyDefaults(const std::string& legacy) const {
  if (migratedMossLedger()) return ok();
  return update([&](json& current) {
    // Another process may have migrated while this one waited for the lock.
    if (current.value(std::string(kMigrated), json()) == json(true)) return;
    const json old = objectIn(legacy);
    for (const std::string_view name : kLegacyKeys) {
      if (const auto found = old.find(std::string(name)); found != old.end()) current[std::string(name)] = *found;
    }
    current[std::string(kMigrated)] = true;
  });
}

bool Preferences::migratedMossLedger() const { return read<bool>(kMigrated).value_or(false); }

Schedule Preferences::schedule() const {
  const auto name = read<std::string>("schedule");
  return name ? scheduleNamed(*name).value_or(Schedule::off) : Schedule::off;
}

Status Preferences::setSchedule(Schedule schedule) const { return set("schedule", caseName(schedule)); }

Appearance Preferences::appearance() const {
  const auto name = read<std::string>("appearance").value_or("");
  for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
    if (caseName(appearance) == name) return appearance;
  }
  return Appearance::system;
}

Status Preferences::setAppearance(Appearance appearance) const { return set("appearance", caseName(appearance)); }

bool Preferences::flag(Flag which) const { return read<bool>(key(which)).value_or(defaultOf(which)); }

Status Preferences::setFlag(Flag which, bool value) const { return set(key(which), value); }

bool Preferences::hidesDock() const { return flag(Flag::menuBarHideDock) && flag(Flag::menuBarShow); }

int Preferences::projectsStaleDays() const {
  const auto days = read<int>("projects.staleDays");
  return days && *days > 0 ? *days : ProjectScanner::kDefaultStaleDays;
}

Status Preferences::setProjectsStaleDays(int days) const { return set("projects.staleDays", days); }

NotificationSettings Preferences::notificationSettings() const {
  return read<NotificationSettings>("notificationSettings").value_or(NotificationSettings{});
}

Status Preferences::setNotificationSettings(const NotificationSettings& settings) const {
  return set("notificationSettings", settings);
}

AutopilotSettings Preferences::autopilot() const {
  return read<AutopilotSettings>("autopilot").value_or(AutopilotSettings{});
}

Status Preferences::setAutopilot(const AutopilotSettings& settings) const { return set("autopilot", settings); }

Language Preferences::language() const {
  const auto codes = read<std::vector<std::string>>(kLanguages);
  if (!codes || codes->empty()) return Language::system;
  for (const Language language : kLanguagesOffered) {
    if (languageCode(language) == codes->front()) return language;
  }
  return Language::system;
}

Status Preferences::setLanguage(Language language) const {
  return update([&](json& current) {
    if (const auto code = languageCode(language)) {
      current[std::string(kLanguages)] = json::array({std::string(*code)});
    } else {
      current.erase(std::string(kLanguages));
    }
  });
}

std::string Preferences::whatsNewSeen() const { return read<std::string>("whatsNew.seen").value_or(""); }

Status Preferences::setWhatsNewSeen(const std::string& version) const { return set("whatsNew.seen", version); }

std::optional<double> Preferences::lastUpdateCheck() const { return read<double>("updates.lastCheck"); }

Status Preferences::setLastUpdateCheck(double when) const { return set("updates.lastCheck", when); }

std::string Preferences::skippedVersion() const { return read<std::string>("updates.skippedVersion").value_or(""); }

Status Preferences::setSkippedVersion(const std::string& version) const {
  return update([&](json& current) {
    if (version.empty()) {
      current.erase("updates.skippedVersion");
    } else {
      current["updates.skippedVersion"] = version;
    }
  });
}

}  // namespace tallyfin
