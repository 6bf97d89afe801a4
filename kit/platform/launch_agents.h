#pragma once

// The system service that starts Tallyfin on a timer while nobody has it open.
// On Linux: a systemd user timer and service in the user's unit folder, and, where
// no user service manager runs but a cron daemon does, a crontab entry between
// marker lines.

#include <optional>
#include <string>
#include <vector>

#include "kit/base/error.h"

namespace tallyfin::platform {

enum class AgentStatus { notRegistered, enabled, requiresApproval, notFound };

// One timed start of "tallyfin --background-scan", every day or every Monday at 10:00.
struct AgentJob {
  std::string label;  // "com.morvek.Tallyfin.weekly"
  bool weekly = false;
};

class LaunchAgents {
 public:
  struct Setup {
    std::string unitFolder;  // the user's systemd unit folder
    std::string executable;  // the absolute path of the tallyfin the agents start
    std::string systemctl;   // empty when there is none
    std::string crontab;     // empty when there is none
    std::vector<std::string> environment;  // for systemctl and crontab ("NAME=value")
    bool managerRunning = false;  // a user service manager answers
    bool cronRunning = false;     // a cron daemon runs
  };

  // This user's folders and programs, and what runs right now.
  static Setup forThisUser();

  explicit LaunchAgents(Setup setup) : setup_(std::move(setup)) {}

  AgentStatus status(const AgentJob& job) const;
  Status registerAgent(const AgentJob& job) const;
  Status unregisterAgent(const AgentJob& job) const;

  // Why a registered job would never start on this system; none when something starts it.
  std::optional<std::string> whyNothingStarts() const;

  // The files a job is made of, as written.
  static std::string serviceUnit(const std::string& executable);
  static std::string timerUnit(const AgentJob& job);
  static std::string cronEntry(const AgentJob& job, const std::string& executable);

  const Setup& setup() const { return setup_; }

 private:
  bool unitEnabled(const AgentJob& job) const;
  std::optional<std::string> crontabText() const;
  Status writeCrontab(const std::string& text) const;
  Status systemctl(const std::vector<std::string>& arguments) const;

  Setup setup_;
};

}  // namespace tallyfin::platform
