#pragma once

// Finds out whether a newer signed release exists. The check the app runs by
// itself happens at most once a day and can be turned off; a check the user asks
// for always goes out. Either way only a feed signed with the release key counts,
// and only a version newer than this one is offered. A failed check changes
// nothing, not even the time of the last check.

#include <optional>
#include <string>

#include "kit/base/error.h"
#include "kit/shell/preferences.h"
#include "kit/update/release_feed.h"
#include "kit/update/release_key.h"
#include "kit/update/web_fetch.h"

namespace tallyfin {

struct UpdateSettings {
  static constexpr const char* kTestKeyVariable = "TALLYFIN_UPDATE_TEST_KEY";

  std::string feedUrl;  // the signature is at the same address with ".sig" added
  PublicKey publicKey = kReleasePublicKey;
  std::string currentVersion;
  double timeoutSeconds = 30;
  // Only a feed on this computer that names a package on this computer counts.
  bool localOnly = false;

  // The build's own feed and version, with the release key. A key in hex in
  // TALLYFIN_UPDATE_TEST_KEY stands in for it, for a feed and package served from
  // this computer only (test runs and local mirrors); a malformed one is an error.
  static Expected<UpdateSettings, Error> forThisBuild();
};

struct UpdateCheck {
  enum class Outcome {
    available,  // a newer release: `release` says which
    upToDate,   // the feed's release is this one or older
    skipped,    // newer, but the user skipped that version
    notDue,     // the last check was less than a day ago
    turnedOff,  // automatic checks are off in the preferences
  };
  Outcome outcome = Outcome::upToDate;
  std::optional<ReleaseFeed> release;  // whenever the feed was fetched
  std::string message;                 // one sentence for people
  std::optional<std::string> warning;  // the check worked, but its time could not be saved
};

class UpdateChecker {
 public:
  static constexpr double kInterval = 86'400;

  UpdateChecker(UpdateSettings settings, Preferences preferences)
      : settings_(std::move(settings)), preferences_(std::move(preferences)) {}

  // The check the app runs by itself at `now`.
  Expected<UpdateCheck, Error> checkIfDue(double now) const;
  // The check the user asked for: the daily rule and the off switch do not apply,
  // nor does a skipped version.
  Expected<UpdateCheck, Error> checkNow(double now) const;
  const UpdateSettings& settings() const { return settings_; }

 private:
  // The verified release of the feed.
  Expected<ReleaseFeed, Error> latestRelease() const;

  UpdateSettings settings_;
  Preferences preferences_;
};

}  // namespace tallyfin
