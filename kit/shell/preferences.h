#pragma once

// The app's settings, kept as one JSON object in the user's settings folder.
// Reads forgive everything: a missing file, a broken one or a value of the wrong
// type reads as the default. Each setter writes its key at once, under a lock, so
// the app, the command line and a scheduled scan never lose each other's changes.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "kit/base/error.h"
#include "kit/history/autopilot.h"
#include "kit/history/notification_policy.h"
#include "kit/shell/schedule.h"
#include "kit/tools/dev_projects.h"

namespace tallyfin {

enum class Appearance { system, light, dark };
std::string_view caseName(Appearance appearance);

enum class Language { system, en, de, zhHans, ja, tr };
// The code written to "AppleLanguages" ("zh-Hans"); none for system.
std::optional<std::string_view> languageCode(Language language);
// The language's name in itself ("Deutsch"); "System" for system.
std::string_view displayName(Language language);
inline constexpr std::string_view kLanguageNote = "The new language applies when Tallyfin reopens.";

class Preferences {
 public:
  // updateCheck: look for a new release once a day by itself (on unless turned off).
  enum class Flag { menuBarShow, menuBarShowFree, menuBarHideDock, projectsStaleOnly, updateCheck };

  explicit Preferences(std::string file) : file_(std::move(file)) {}
  // The user's own: Tallyfin/preferences.json in the settings folder.
  static Preferences standard();
  // Where the product's former name kept its preferences, beside the standard file.
  static std::string legacyFile();

  const std::string& file() const { return file_; }

  // Copies the former product's settings once; later calls copy nothing.
  Status migrateLegacyDefaults(const std::string& legacy) const;
  bool migratedMossLedger() const;

  Schedule schedule() const;
  Status setSchedule(Schedule schedule) const;

  Appearance appearance() const;
  Status setAppearance(Appearance appearance) const;

  bool flag(Flag flag) const;
  Status setFlag(Flag flag, bool value) const;
  // Hiding the Dock icon counts only while the menu bar item shows, so the app
  // always stays reachable.
  bool hidesDock() const;

  int projectsStaleDays() const;
  Status setProjectsStaleDays(int days) const;

  NotificationSettings notificationSettings() const;
  Status setNotificationSettings(const NotificationSettings& settings) const;

  AutopilotSettings autopilot() const;
  Status setAutopilot(const AutopilotSettings& settings) const;

  Language language() const;
  Status setLanguage(Language language) const;

  // When a release feed was last fetched and verified (seconds since 1970); none
  // before the first check.
  std::optional<double> lastUpdateCheck() const;
  Status setLastUpdateCheck(double when) const;

  // The version whose release notes the user has opened; empty before the first.
  std::string whatsNewSeen() const;
  Status setWhatsNewSeen(const std::string& version) const;

  // The release the user chose not to hear about again; empty for none.
  std::string skippedVersion() const;
  Status setSkippedVersion(const std::string& version) const;

 private:
  // The stored object; empty when the file is missing or broken.
  nlohmann::json values() const;
  // Changes the stored object under the file's lock and writes it back at once.
  Status update(const std::function<void(nlohmann::json&)>& change) const;
  Status set(std::string_view key, nlohmann::json value) const;
  template <class T>
  std::optional<T> read(std::string_view key) const;

  std::string file_;
};

}  // namespace tallyfin
