#include "cli/autopilot_command.h"

#include <cstdio>

#include <nlohmann/json.hpp>

#include "cli/command_support.h"

namespace tallyfin::cli {

using namespace exit_code;

int setUpAutopilot(const Options& options, const Preferences& preferences) {
  AutopilotSettings settings = preferences.autopilot();
  if (options.autopilotDays) {
    settings.enabled = *options.autopilotDays > 0;
    if (settings.enabled) settings.minAgeDays = *options.autopilotDays;
    if (auto saved = preferences.setAutopilot(settings); !saved) {
      diagnose(saved.error().message + " — check that " + preferences.file() + " can be written.");
      return kScanFailed;
    }
  }
  std::string text;
  if (options.json) {
    text = nlohmann::json{{"enabled", settings.enabled}, {"min_age_days", settings.minAgeDays}}.dump(2) + "\n";
  } else if (settings.enabled) {
    text = "Autopilot: on — after each scheduled scan, Safe items unused for " + std::to_string(settings.minAgeDays) +
           " days go to the Trash (one batch, undoable)\n";
  } else {
    text = "Autopilot: off\n";
  }
  std::fwrite(text.data(), 1, text.size(), stdout);
  if (settings.enabled && preferences.schedule() == Schedule::off) {
    diagnose("Autopilot runs after scheduled scans, and none are set — turn them on with: tallyfin schedule weekly");
  }
  return kOk;
}

}  // namespace tallyfin::cli
