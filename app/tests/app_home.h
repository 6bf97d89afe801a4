#pragma once

// A home folder in a temp folder for the app's model and windows: its data
// folder, preferences, Trash and scan root all inside it, and a few files the
// cleanup rules know, so a scan of it has something to suggest.

#include <QTest>

#include <string>
#include <vector>

#include "app/model/app_environment.h"
#include "tests/support/file_content.h"
#include "tests/trash/trash_fixture.h"

namespace tallyfin::app::testing {

using tallyfin::testing::TempHome;

class AppHome {
 public:
  // pip and npm caches (suggested, Safe), a Hugging Face model (Review), one
  // large video, and the runtime folder "run".
  AppHome();

  const std::string& path() const { return home_.path(); }
  std::string operator/(const std::string& relative) const { return home_ / relative; }
  std::string trashFiles() const { return home_.trashFiles(); }
  Store store() const { return home_.store(); }
  // The whole home folder as the scan root; no tool probes; timers in this home's
  // own unit folder (through the real systemctl, which reaches no service manager
  // from here); apps only in ~/Applications; no docker and no flatpak command; the
  // command line as the MCP server; downloads into this home's cache folder.
  AppEnvironment environment() const;
  // The timers' setup: this home's unit folder, and the app as what they start.
  platform::LaunchAgents::Setup agents() const;
  // The environment a child process (the command line) gets: this home's folders.
  std::vector<std::string> childEnvironment() const;
  // Runs `tallyfin --root HOME`: another process writing a new report.
  void scanWithCommandLine() const;

 private:
  TempHome home_;
};

// Spins the event loop until `done` holds, for at most 30 seconds; whether it held.
template <class Predicate>
bool eventually(Predicate done) {
  return QTest::qWaitFor(done, 30'000);
}

}  // namespace tallyfin::app::testing
