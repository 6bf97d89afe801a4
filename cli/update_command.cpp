#include "cli/update_command.h"

#include <nlohmann/json.hpp>

#include "cli/command_support.h"

#if TALLYFIN_UPDATE_CHECK
#include "kit/base/clock.h"
#include "kit/base/text.h"
#include "kit/platform/package_installer.h"
#include "kit/store/format.h"
#include "kit/update/package_download.h"
#include "kit/update/update_checker.h"
#endif

namespace tallyfin::cli {
namespace {

using nlohmann::json;

constexpr int kUpToDate = 0;
constexpr int kFailed = 1;

#if TALLYFIN_UPDATE_CHECK

constexpr int kNewerRelease = 10;

std::string_view statusName(UpdateCheck::Outcome outcome) {
  switch (outcome) {
    case UpdateCheck::Outcome::available:
      return "update_available";
    case UpdateCheck::Outcome::skipped:
      return "skipped";
    case UpdateCheck::Outcome::notDue:
      return "not_due";
    case UpdateCheck::Outcome::turnedOff:
      return "turned_off";
    case UpdateCheck::Outcome::upToDate:
      break;
  }
  return "up_to_date";
}

json releaseJson(const ReleaseFeed& release) {
  return {{"version", release.version.text()},
          {"date", release.date},
          {"notes", release.notes},
          {"package_url", release.packageUrl},
          {"package_sha256", release.packageSha256},
          {"package_size", release.packageSize}};
}

std::string feedArgument(const Options& options) {
  return options.feed ? " --feed " + shellQuoted(*options.feed) : "";
}

int check(const Options& options, const UpdateChecker& checker) {
  const double now = secondsSinceEpoch();
  const auto result = options.ifDue ? checker.checkIfDue(now) : checker.checkNow(now);
  if (!result) {
    diagnose(result.error().message);
    return kFailed;
  }
  if (result->warning) diagnose(*result->warning);
  const bool newer = result->outcome == UpdateCheck::Outcome::available;
  if (options.json) {
    json answer{{"status", statusName(result->outcome)},
                {"current_version", checker.settings().currentVersion},
                {"message", result->message}};
    if (result->release) answer["latest_version"] = result->release->version.text();
    if (newer) answer["release"] = releaseJson(*result->release);
    print(answer.dump(2) + "\n");
  } else if (newer) {
    const ReleaseFeed& release = *result->release;
    print(result->message + " Released " + release.date + ".\n\n" +
          std::string(trimmed(release.notes)) +
          "\n\nDownload and verify it with: tallyfin update --download" + feedArgument(options) +
          "\n");
  } else {
    print(result->message + "\n");
  }
  return newer ? kNewerRelease : kUpToDate;
}

int download(const Options& options, const UpdateChecker& checker) {
  const auto result = checker.checkNow(secondsSinceEpoch());
  if (!result) {
    diagnose(result.error().message);
    return kFailed;
  }
  if (result->warning) diagnose(*result->warning);
  if (result->outcome != UpdateCheck::Outcome::available) {
    print(options.json ? json{{"status", "up_to_date"}, {"message", result->message}}.dump(2) + "\n"
                       : result->message + " Nothing to download.\n");
    return kUpToDate;
  }
  const auto package = DownloadedPackage::fetch(*result->release, platform::downloadFolder(),
                                                checker.settings().timeoutSeconds);
  if (!package) {
    diagnose(package.error().message);
    return kFailed;
  }
  const std::string command = platform::PackageInstaller::terminalCommand(package->path());
  if (options.json) {
    print(json{{"status", "downloaded"},
               {"version", package->version()},
               {"path", package->path()},
               {"size", package->size()},
               {"sha256", package->sha256()},
               {"already_downloaded", package->reused()},
               {"install_command", command}}
              .dump(2) +
          "\n");
  } else {
    print("Tallyfin " + package->version() + " is downloaded and verified (" +
          Format::bytes(package->size()) + ", SHA-256 as signed):\n" + package->path() +
          "\nInstall it with:\n  " + command + "\n");
  }
  return kUpToDate;
}

}  // namespace

int updateTallyfin(const Options& options, const Preferences& preferences) {
  auto settings = UpdateSettings::forThisBuild();
  if (!settings) {
    diagnose(settings.error().message);
    return kFailed;
  }
  if (options.feed) settings->feedUrl = *options.feed;
  const UpdateChecker checker(std::move(*settings), preferences);
  return options.download ? download(options, checker) : check(options, checker);
}

#else

}  // namespace

// A distribution's build: its package manager brings new releases.
int updateTallyfin(const Options& options, const Preferences&) {
  const std::string message =
      "This Tallyfin comes from your distribution, whose package manager brings its updates — "
      "Tallyfin does not look for them itself.";
  if (options.download) {
    diagnose(message);
    return kFailed;
  }
  print(options.json ? json{{"status", "from_distribution"}, {"message", message}}.dump(2) + "\n"
                     : message + "\n");
  return kUpToDate;
}

#endif

}  // namespace tallyfin::cli
