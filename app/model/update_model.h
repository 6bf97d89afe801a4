#pragma once

// The app's side of updates: the daily check it runs by itself (unless turned
// off), the check the user asks for, and a verified newer release's notes, its
// download (with progress and Cancel), Skip This Version, and the hand-over to
// the system's installer. Every step runs off the main thread; only a release
// whose feed the release key signed is ever offered. A distribution's build has
// none of it: its package manager brings updates.

#include <QObject>
#include <QThreadPool>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "app/model/app_environment.h"

namespace tallyfin::app {

class UpdateModel : public QObject {
  Q_OBJECT

 public:
  enum class Phase {
    idle,         // nothing checked since the app started
    checking,
    upToDate,     // `message` says so
    available,    // `release` is newer than this version
    downloading,  // `received` of the release's package size so far
    downloaded,   // `packagePath` holds the verified package
    installing,
    failed,       // `message` says why
  };
  // A verified release, as its signed feed describes it.
  struct Release {
    std::string version;
    std::string date;
    std::string notes;  // Markdown
    std::string packageUrl;
    std::string packageSha256;
    int64_t packageSize = 0;
  };

  UpdateModel(Preferences preferences, std::optional<AppEnvironment::UpdateFeed> feed, std::string downloadFolder,
              QObject* parent = nullptr);
  // Stops a download and waits for the work under way.
  ~UpdateModel() override;

  // Whether this build looks for releases at all; a distribution's does not.
  static bool isBuiltIn();

  Phase phase() const { return phase_; }
  const std::string& message() const { return message_; }
  const std::optional<Release>& release() const { return release_; }
  int64_t received() const { return received_; }
  const std::string& packagePath() const { return packagePath_; }
  // What a person types in a terminal to install the downloaded package.
  const std::string& installCommand() const { return installCommand_; }

  // The preference "updates.check": the daily check at start-up.
  bool checksAutomatically() const;
  void setChecksAutomatically(bool on);

  // The check the app runs by itself: at most once a day, and quietly; only a
  // newer release that was not skipped shows.
  void checkIfDue();
  // The check the user asked for: always goes out, shows every answer.
  void checkNow();
  // Fetches the release's package and checks it against the signed feed.
  void download();
  void cancelDownload();
  // Forgets the offered release until a newer one comes.
  void skipThisVersion();
  // Hands the downloaded package to the system's installer, which asks the user.
  void install();

 signals:
  void changed();

 private:
  void check(bool byHand);
  void setPhase(Phase phase, std::string message = {});
  void notifyReceived(int64_t bytes);

  Preferences preferences_;
  std::optional<AppEnvironment::UpdateFeed> feed_;
  std::string downloadFolder_;
  // Its own threads: an installer may wait for the user for as long as it likes.
  QThreadPool pool_;
  Phase phase_ = Phase::idle;
  std::string message_;
  std::optional<Release> release_;
  int64_t received_ = 0;
  std::string packagePath_;
  std::string installCommand_;
  std::shared_ptr<std::atomic<bool>> stopDownload_;
  bool automaticOn_ = true;
};

}  // namespace tallyfin::app
