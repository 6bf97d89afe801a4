#include "kit/shell/scheduler.h"

namespace tallyfin {

using platform::AgentStatus;
using Kind = SchedulerState::Kind;

std::string_view caseName(SchedulerState::Kind kind) {
  switch (kind) {
    case Kind::scheduled:
      return "scheduled";
    case Kind::needsApproval:
      return "needsApproval";
    case Kind::off:
      break;
  }
  return "off";
}

platform::AgentJob Scheduler::job(Schedule schedule) {
  return {agentLabel(schedule).value_or(""), schedule == Schedule::weekly};
}

SchedulerState Scheduler::state(Schedule schedule) const {
  if (schedule == Schedule::off) return {};
  return stateFor(agents_.status(job(schedule)));
}

SchedulerState Scheduler::stateFor(AgentStatus status) const {
  switch (status) {
    case AgentStatus::enabled:
      if (auto reason = agents_.whyNothingStarts()) return {Kind::off, std::move(reason)};
      return {Kind::scheduled, std::nullopt};
    case AgentStatus::requiresApproval:
      return {Kind::needsApproval, std::nullopt};
    case AgentStatus::notRegistered:
    case AgentStatus::notFound:
      break;
  }
  return {Kind::off, agents_.whyNothingStarts()};
}

SchedulerState Scheduler::apply(Schedule schedule) const {
  for (const Schedule other : {Schedule::daily, Schedule::weekly}) {
    if (other == schedule) continue;
    // Files left by a registration that failed half way go too.
    if (agents_.status(job(other)) != AgentStatus::notFound) {
      if (auto removed = agents_.unregisterAgent(job(other)); !removed) {
        return {Kind::off, removed.error().message};
      }
    }
  }
  if (schedule == Schedule::off) return {};
  const AgentStatus current = agents_.status(job(schedule));
  if (current == AgentStatus::enabled) return stateFor(current);
  const Status registered = agents_.registerAgent(job(schedule));
  const AgentStatus now = agents_.status(job(schedule));
  if (!registered && now != AgentStatus::requiresApproval) return {Kind::off, registered.error().message};
  return stateFor(now);
}

}  // namespace tallyfin
