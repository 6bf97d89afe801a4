#pragma once

// Keeps the registered launch agents in step with the chosen schedule. It holds
// no state of its own: the system keeps the registration.

#include <optional>
#include <string>
#include <string_view>

#include "kit/platform/launch_agents.h"
#include "kit/shell/schedule.h"

namespace tallyfin {

struct SchedulerState {
  enum class Kind { off, scheduled, needsApproval };
  Kind kind = Kind::off;
  // Why it is off although a schedule was chosen: registration failed, or nothing
  // on this system would start it.
  std::optional<std::string> reason;
};

// "off", "scheduled", "needsApproval".
std::string_view caseName(SchedulerState::Kind kind);

class Scheduler {
 public:
  explicit Scheduler(platform::LaunchAgents agents) : agents_(std::move(agents)) {}

  // How the agent of `schedule` stands now; off for off.
  SchedulerState state(Schedule schedule) const;

  // Unregisters the other schedule's agent and registers this one's.
  SchedulerState apply(Schedule schedule) const;

  // The agent's job for a schedule other than off.
  static platform::AgentJob job(Schedule schedule);

 private:
  SchedulerState stateFor(platform::AgentStatus status) const;

  platform::LaunchAgents agents_;
};

}  // namespace tallyfin
