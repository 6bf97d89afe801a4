#include "app/model/update_model.h"

#include "app/model/off_main_thread.h"
#include "kit/base/clock.h"
#include "kit/platform/package_installer.h"
#include "kit/update/installer_handoff.h"
#include "kit/update/package_download.h"
#include "kit/update/update_checker.h"

namespace tallyfin::app {
namespace {

UpdateModel::Release releaseOf(const ReleaseFeed& feed) {
  return {feed.version.text(), feed.date,          feed.notes,
          feed.packageUrl,     feed.packageSha256, feed.packageSize};
}

// The feed the release came from, as the download needs it; its version parsed
// once already, when the feed was verified.
ReleaseFeed feedOf(const UpdateModel::Release& release) {
  return {SemanticVersion::parse(release.version).value_or(SemanticVersion{}), release.date, release.notes,
          release.packageUrl, release.packageSha256, release.packageSize};
}

}  // namespace

bool UpdateModel::isBuiltIn() { return true; }

UpdateModel::UpdateModel(Preferences preferences, std::optional<AppEnvironment::UpdateFeed> feed,
                         std::string downloadFolder, QObject* parent)
    : QObject(parent),
      preferences_(std::move(preferences)),
      feed_(std::move(feed)),
      downloadFolder_(std::move(downloadFolder)),
      automaticOn_(preferences_.flag(Preferences::Flag::updateCheck)) {
  pool_.setMaxThreadCount(2);
}

UpdateModel::~UpdateModel() {
  if (stopDownload_) *stopDownload_ = true;
  pool_.waitForDone();
}

bool UpdateModel::checksAutomatically() const { return automaticOn_; }

void UpdateModel::setChecksAutomatically(bool on) {
  if (on == automaticOn_) return;
  automaticOn_ = on;
  emit changed();
  offMainThread(
      pool_, this, [preferences = preferences_, on] { return preferences.setFlag(Preferences::Flag::updateCheck, on); },
      [this](Status written) {
        if (!written) setPhase(Phase::failed, written.error().message);
      });
}

void UpdateModel::checkIfDue() { check(false); }

void UpdateModel::checkNow() { check(true); }

void UpdateModel::check(bool byHand) {
  if (phase_ == Phase::checking || phase_ == Phase::downloading || phase_ == Phase::installing) return;
  const Phase before = phase_;
  if (byHand) setPhase(Phase::checking);
  offMainThread(
      pool_, this,
      [preferences = preferences_, feed = feed_, byHand]() -> Expected<UpdateCheck, Error> {
        auto settings = UpdateSettings::forThisBuild();
        if (!settings) return fail(settings.error());
        if (feed) {
          settings->feedUrl = feed->url;
          settings->publicKey = feed->key;
          settings->localOnly = false;
        }
        const UpdateChecker checker(std::move(*settings), preferences);
        return byHand ? checker.checkNow(secondsSinceEpoch()) : checker.checkIfDue(secondsSinceEpoch());
      },
      [this, byHand, before](Expected<UpdateCheck, Error> result) {
        if (!byHand) {
          // Quiet: a failed, skipped or unneeded daily check changes nothing on screen.
          if (result && result->outcome == UpdateCheck::Outcome::available && phase_ == before) {
            release_ = releaseOf(*result->release);
            setPhase(Phase::available, result->message);
          }
          return;
        }
        if (!result) {
          setPhase(Phase::failed, result.error().message);
          return;
        }
        const bool newer = result->outcome == UpdateCheck::Outcome::available;
        release_ = newer ? std::optional(releaseOf(*result->release)) : std::nullopt;
        setPhase(newer ? Phase::available : Phase::upToDate, result->message);
      });
}

void UpdateModel::download() {
  if (!release_ || (phase_ != Phase::available && phase_ != Phase::failed)) return;
  received_ = 0;
  stopDownload_ = std::make_shared<std::atomic<bool>>(false);
  setPhase(Phase::downloading);
  offMainThread(
      pool_, this,
      [this, release = *release_, folder = downloadFolder_, stop = stopDownload_] {
        int64_t shown = 0;
        return DownloadedPackage::fetch(feedOf(release), folder, 30,
                                        [this, stop, &shown, size = release.packageSize](int64_t bytes) {
                                          // A few hundred updates at most, however fast the bytes come.
                                          if (bytes - shown >= size / 200 || bytes == size) {
                                            shown = bytes;
                                            notifyReceived(bytes);
                                          }
                                          return !*stop;
                                        });
      },
      [this](Expected<DownloadedPackage, Error> package) {
        stopDownload_.reset();
        if (!package) {
          setPhase(Phase::failed, package.error().message);
          return;
        }
        packagePath_ = package->path();
        installCommand_ = platform::PackageInstaller::terminalCommand(package->path());
        received_ = package->size();
        setPhase(Phase::downloaded, "Tallyfin " + package->version() + " is downloaded and verified.");
      });
}

void UpdateModel::notifyReceived(int64_t bytes) {
  // `this` outlives the download: the destructor stops it and waits.
  QMetaObject::invokeMethod(
      this,
      [this, bytes] {
        if (phase_ != Phase::downloading) return;
        received_ = bytes;
        emit changed();
      },
      Qt::QueuedConnection);
}

void UpdateModel::cancelDownload() {
  if (stopDownload_) *stopDownload_ = true;
}

void UpdateModel::skipThisVersion() {
  if (!release_) return;
  const std::string version = release_->version;
  release_.reset();
  setPhase(Phase::idle);
  offMainThread(
      pool_, this, [preferences = preferences_, version] { return preferences.setSkippedVersion(version); },
      [this](Status written) {
        if (!written) setPhase(Phase::failed, written.error().message);
      });
}

void UpdateModel::install() {
  if (phase_ != Phase::downloaded || !release_) return;
  setPhase(Phase::installing, "The installer asks for your password before it installs Tallyfin " +
                                  release_->version + ".");
  offMainThread(
      pool_, this,
      [release = *release_, folder = downloadFolder_]() -> Status {
        // The file is there and verified: this reads it again rather than the network.
        auto package = DownloadedPackage::fetch(feedOf(release), folder, 30);
        if (!package) return fail(package.error());
        return handToInstaller(*package, platform::PackageInstaller(platform::PackageInstaller::forThisUser()));
      },
      [this](Status installed) {
        if (!installed) {
          setPhase(Phase::failed, installed.error().message);
          return;
        }
        setPhase(Phase::downloaded, "The installer has finished. Quit and reopen Tallyfin to use the new version.");
      });
}

void UpdateModel::setPhase(Phase phase, std::string message) {
  phase_ = phase;
  message_ = std::move(message);
  emit changed();
}

}  // namespace tallyfin::app
