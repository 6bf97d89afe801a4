// tallyfin: scans the disk through the same pipeline as the app, saves the
// report into the shared data folder and prints a summary. Results go to
// standard output; everything else to standard error as "tallyfin: " lines.

#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <vector>

#include "cli/agents_command.h"
#include "cli/apps_command.h"
#include "cli/autopilot_command.h"
#include "cli/command_support.h"
#include "cli/duplicates_command.h"
#include "cli/interrupt.h"
#include "cli/mcp_command.h"
#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/schedule_command.h"
#include "cli/summary.h"
#include "cli/system_data_command.h"
#include "cli/update_command.h"
#include "kit/base/clock.h"
#include "kit/cleanup/keep_list.h"
#include "kit/platform/launch_agents.h"
#include "kit/platform/user_folders.h"
#include "kit/pipeline/scan_pipeline.h"
#include "kit/shell/background_agent.h"
#include "kit/shell/preferences.h"
#include "kit/shell/scheduler.h"
#include "kit/store/store.h"
#include "kit/tools/tool_probe.h"

namespace {

using namespace tallyfin;

using namespace tallyfin::cli::exit_code;

using cli::diagnose;

int printSummary(const cli::Options& options, const Store& store, const ScanReport& report) {
  const auto kept = KeepList::paths(store);
  const cli::SummaryInput input{report, kept, static_cast<size_t>(options.top),
                                secondsSinceEpoch()};
  const std::string text =
      options.json ? cli::jsonSummary(input).dump(2) + "\n" : cli::textSummary(input);
  std::fwrite(text.data(), 1, text.size(), stdout);
  return kOk;
}

int showSavedScan(const cli::Options& options, const Store& store) {
  const auto report = cli::savedReport(store, " — run tallyfin without --no-scan to make one.");
  if (!report) return kNoReport;
  return printSummary(options, store, *report);
}

int scan(const cli::Options& options, const Store& store, const std::string& home) {
  ScanConfiguration configuration = ScanConfiguration::wholeDisk(home);
  if (options.root) {
    configuration.root = cli::givenPath(*options.root, home);
    configuration.displayRoot = configuration.root;
    struct stat info;
    if (::stat(configuration.root.c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) {
      diagnose(configuration.root + " is not a folder — give --root a folder to scan.");
      return kBadArguments;
    }
  }
  const ScanPipeline pipeline{store, configuration, NotificationSettings{},
                              [home] { return ToolProbe::collect(home); }, ScanTrigger::manual};

  CancelToken cancel;
  const cli::CancelOnInterrupt interrupt(cancel);
  cli::ProgressLine progress(home);
  auto result = pipeline.run(cancel, secondsSinceEpoch(),
                             [&progress](const ScanProgress& p) { progress.update(p); });
  progress.clear();

  if (!result) {
    const PipelineError& error = result.error();
    if (error.reason == PipelineError::Reason::cancelled) {
      diagnose("the scan was cancelled — nothing was saved.");
    } else {
      diagnose(error.message);
    }
    return error.reason == PipelineError::Reason::alreadyScanning ? kBusy : kScanFailed;
  }
  for (const auto& warning : result->warnings) diagnose(warning);
  return printSummary(options, store, result->report);
}

// The user's preferences, with the former product's carried over the first time.
Preferences migratedPreferences() {
  const Preferences preferences = Preferences::standard();
  if (auto migrated = preferences.migrateLegacyDefaults(Preferences::legacyFile()); !migrated) {
    diagnose(migrated.error().message);
  }
  return preferences;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (BackgroundAgent::isRequested(arguments)) return BackgroundAgent::runForThisUser();
  const auto options = cli::parseOptions(arguments);
  if (!options) {
    diagnose(options.error());
    std::fprintf(stderr, "%s\n", std::string(cli::kUsage).c_str());
    return kBadArguments;
  }
  switch (options->command) {
    case cli::Options::Command::help:
      std::fputs(cli::helpText().c_str(), stdout);
      return kOk;
    case cli::Options::Command::agentGuide:
      return cli::printAgentGuide();
    case cli::Options::Command::update:
      return cli::updateTallyfin(*options, migratedPreferences());
    case cli::Options::Command::connect:
    case cli::Options::Command::disconnect:
    case cli::Options::Command::clients:
    case cli::Options::Command::duplicates:
    case cli::Options::Command::systemData:
    case cli::Options::Command::apps:
    case cli::Options::Command::mcp:
    case cli::Options::Command::schedule:
    case cli::Options::Command::autopilot:
    case cli::Options::Command::scan:
      break;
  }
  const std::string home = platform::homeFolder();
  const Store store = options->store ? Store(*options->store) : Store::standard();
  if (options->command == cli::Options::Command::duplicates) return cli::findDuplicates(*options, store, home);
  if (options->command == cli::Options::Command::connect) return cli::connectClient(*options, home);
  if (options->command == cli::Options::Command::disconnect) return cli::disconnectClient(*options, home);
  if (options->command == cli::Options::Command::clients) return cli::listClients(home);
  if (options->command == cli::Options::Command::mcp) return cli::serveMcp(*options, store, home);
  if (options->command == cli::Options::Command::apps) return cli::listApps(*options, home);
  if (options->command == cli::Options::Command::schedule) {
    const Preferences preferences = migratedPreferences();
    return cli::scheduleScans(*options, preferences, Scheduler(platform::LaunchAgents(platform::LaunchAgents::forThisUser())));
  }
  if (options->command == cli::Options::Command::autopilot) return cli::setUpAutopilot(*options, migratedPreferences());
  if (options->command == cli::Options::Command::systemData) return cli::explainSystemData(*options, store, home);
  return options->noScan ? showSavedScan(*options, store) : scan(*options, store, home);
}
