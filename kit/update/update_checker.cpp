#include "kit/update/update_checker.h"

#include <cstdlib>

#include "kit/store/format.h"
#include "kit/update/fetch_address.h"
#include "kit/update/this_version.h"

namespace tallyfin {
namespace {

std::optional<PublicKey> keyFromHex(std::string_view hex) {
  PublicKey key{};
  if (hex.size() != key.size() * 2) return std::nullopt;
  const auto digit = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  for (size_t i = 0; i < key.size(); ++i) {
    const int high = digit(hex[2 * i]), low = digit(hex[2 * i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    key[i] = static_cast<unsigned char>(high * 16 + low);
  }
  return key;
}

bool onThisComputer(const std::string& url) {
  const auto address = FetchAddress::check(url);
  return address && address->loopback;
}

}  // namespace

Expected<UpdateSettings, Error> UpdateSettings::forThisBuild() {
  UpdateSettings settings;
  settings.feedUrl = releaseFeedUrl();
  settings.currentVersion = thisVersion();
  if (const char* hex = std::getenv(kTestKeyVariable)) {
    const auto key = keyFromHex(hex);
    if (!key) {
      return fail(Error{
          std::string(kTestKeyVariable) +
          " is set but is not an Ed25519 public key in 64 hex digits — unset it to use Tallyfin's "
          "release key."});
    }
    settings.publicKey = *key;
    settings.localOnly = true;
  }
  return settings;
}

Expected<ReleaseFeed, Error> UpdateChecker::latestRelease() const {
  if (settings_.feedUrl.empty()) {
    return fail(
        Error{"This build of Tallyfin names no release feed — give the address of one to check "
              "against."});
  }
  if (settings_.localOnly && !onThisComputer(settings_.feedUrl)) {
    return fail(Error{"The key in " + std::string(UpdateSettings::kTestKeyVariable) +
                      " is trusted only for a feed on "
                      "this computer, not " +
                      settings_.feedUrl + " — unset it to use Tallyfin's release key."});
  }
  const FetchLimits feedLimits{ReleaseFeed::kLargestFeed, settings_.timeoutSeconds, true};
  auto feed = fetchText(settings_.feedUrl, feedLimits, "the release feed");
  if (!feed) return fail(Error{feed.error().message});
  // Anything longer than a signature is not one; the cap only keeps it small.
  const FetchLimits signatureLimits{1'000, settings_.timeoutSeconds, true};
  auto signature = fetchText(settings_.feedUrl + ".sig", signatureLimits, "the release signature");
  if (!signature) return fail(Error{signature.error().message});
  auto release = ReleaseFeed::open(*feed, *signature, settings_.publicKey, settings_.feedUrl);
  if (release && settings_.localOnly && !onThisComputer(release->packageUrl)) {
    return fail(Error{"The key in " + std::string(UpdateSettings::kTestKeyVariable) +
                      " is trusted only for packages on this computer, not " + release->packageUrl +
                      " — nothing was offered."});
  }
  return release;
}

Expected<UpdateCheck, Error> UpdateChecker::checkNow(double now) const {
  const auto current = SemanticVersion::parse(settings_.currentVersion);
  if (!current) {
    return fail(Error{"This Tallyfin's version " + settings_.currentVersion +
                      " is not a release number, so no release can be compared with it."});
  }
  auto release = latestRelease();
  if (!release) return fail(release.error());
  UpdateCheck check;
  if (auto saved = preferences_.setLastUpdateCheck(now); !saved) {
    check.warning = saved.error().message + " — the next check may come sooner than a day.";
  }
  const SemanticVersion& offered = release->version;
  if (offered > *current) {
    check.outcome = UpdateCheck::Outcome::available;
    check.message =
        "Tallyfin " + offered.text() + " is available (this is " + current->text() + ").";
  } else if (offered == *current) {
    check.message = "Tallyfin " + current->text() + " is up to date.";
  } else {
    check.message = "The release feed offers " + offered.text() + ", older than this Tallyfin " +
                    current->text() + " — no downgrade is offered.";
  }
  check.release = std::move(*release);
  return check;
}

Expected<UpdateCheck, Error> UpdateChecker::checkIfDue(double now) const {
  if (!preferences_.flag(Preferences::Flag::updateCheck)) {
    return UpdateCheck{UpdateCheck::Outcome::turnedOff, std::nullopt,
                       "Automatic update checks are turned off in the preferences.", std::nullopt};
  }
  // A last check in the future means the clock was wrong then or is now: check.
  if (const auto last = preferences_.lastUpdateCheck();
      last && *last <= now && now - *last < kInterval) {
    return UpdateCheck{
        UpdateCheck::Outcome::notDue, std::nullopt,
        "Tallyfin checked for updates less than a day ago; the next check is due at " +
            Format::isoDate(static_cast<int64_t>(*last + kInterval)) + ".",
        std::nullopt};
  }
  auto check = checkNow(now);
  if (!check || check->outcome != UpdateCheck::Outcome::available) return check;
  const auto skipped = SemanticVersion::parse(preferences_.skippedVersion());
  if (skipped && *skipped == check->release->version) {
    check->outcome = UpdateCheck::Outcome::skipped;
    check->message = "Tallyfin " + skipped->text() +
                     " is available, but it was skipped; check by hand to see it.";
  }
  return check;
}

}  // namespace tallyfin
