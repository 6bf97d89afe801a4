#include "cli/schedule_command.h"

#include <cstdio>

#include <nlohmann/json.hpp>

#include "cli/command_support.h"

namespace tallyfin::cli {
namespace {

using namespace exit_code;

std::string describe(const Options& options, Schedule schedule, const SchedulerState& state) {
  if (options.json) {
    const nlohmann::json json{{"schedule", caseName(schedule)},
                              {"label", label(schedule)},
                              {"state", caseName(state.kind)},
                              {"reason", state.reason ? nlohmann::json(*state.reason) : nlohmann::json()}};
    return json.dump(2) + "\n";
  }
  std::string text = "Scheduled scan: " + std::string(label(schedule)) + "\n";
  text += "State:          " + std::string(caseName(state.kind)) + "\n";
  if (state.reason) text += "Why:            " + *state.reason + "\n";
  return text;
}

}  // namespace

int scheduleScans(const Options& options, const Preferences& preferences, const Scheduler& scheduler) {
  Schedule schedule = preferences.schedule();
  SchedulerState state;
  if (options.schedule) {
    schedule = *scheduleNamed(*options.schedule);
    if (auto saved = preferences.setSchedule(schedule); !saved) {
      diagnose(saved.error().message + " — check that " + preferences.file() + " can be written.");
      return kScanFailed;
    }
    state = scheduler.apply(schedule);
  } else {
    state = scheduler.state(schedule);
  }
  const std::string text = describe(options, schedule, state);
  std::fwrite(text.data(), 1, text.size(), stdout);
  const bool failed = options.schedule && schedule != Schedule::off && state.kind != SchedulerState::Kind::scheduled;
  if (failed) diagnose("scheduled scans will not run: " + state.reason.value_or("the system did not take the timer."));
  return failed ? kScanFailed : kOk;
}

}  // namespace tallyfin::cli
