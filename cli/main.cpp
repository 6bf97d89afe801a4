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
#include "cli/command_table.h"
#include "cli/duplicates_command.h"
#include "cli/history_command.h"
#include "cli/interrupt.h"
#include "cli/keep_command.h"
#include "cli/mcp_command.h"
#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/schedule_command.h"
#include "cli/summary.h"
#include "cli/system_data_command.h"
#include "cli/trash_command.h"
#include "cli/update_command.h"
#include "kit/base/clock.h"
#include "kit/base/text.h"
#include "kit/cleanup/keep_list.h"
#include "kit/platform/launch_agents.h"
#include "kit/platform/user_folders.h"
#include "kit/pipeline/scan_pipeline.h"
#include "kit/shell/background_agent.h"
#include "kit/shell/preferences.h"
#include "kit/shell/scheduler.h"
#include "kit/store/store.h"
#include "kit/tools/tool_probe.h"
#include "kit/trash/trash_service.h"
#include "kit/platform/trasher.h"

namespace {

using namespace tallyfin;

using namespace tallyfin::cli::exit_code;

using cli::diagnose;

constexpr double kEveryBatch = 3'650;  // days: all the journal keeps

// The batches moved to the Trash after `since`, newest first; none without a date.
std::vector<TrashBatch> movedSince(const Store& store, const std::string& home, std::optional<double> since,
                                   double now) {
  if (!since) return {};
  auto batches = TrashService(home, store, systemTrasher(home)).batches(kEveryBatch, now);
  std::erase_if(batches, [&](const TrashBatch& batch) { return batch.date <= *since; });
  return batches;
}

// `since` is when the scan before this summary's ended, for the undo hint.
int printSummary(const cli::Options& options, const Store& store, const ScanReport& report,
                 std::optional<double> since, const std::string& home) {
  const auto kept = KeepList::paths(store);
  const double now = secondsSinceEpoch();
  const cli::SummaryInput input{report, kept, static_cast<size_t>(options.top), now,
                                options.json ? std::vector<TrashBatch>{} : movedSince(store, home, since, now),
                                options.store ? " --store " + shellQuoted(*options.store) : ""};
  const std::string text =
      options.json ? cli::jsonSummary(input).dump(2) + "\n" : cli::textSummary(input);
  std::fwrite(text.data(), 1, text.size(), stdout);
  return kOk;
}

int showSavedScan(const cli::Options& options, const Store& store, const std::string& home) {
  const auto report = cli::savedReport(store, " — run tallyfin without --no-scan to make one.");
  if (!report) return kNoReport;
  return printSummary(options, store, *report, report->date, home);
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
  const auto& changes = result->report.changes;
  return printSummary(options, store, result->report,
                      changes ? std::optional(changes->since) : std::nullopt, home);
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
  using Command = cli::Options::Command;
  if (options->commandHelp) {
    std::fputs(cli::commandHelpText(cli::commandDoc(options->command)).c_str(), stdout);
    return kOk;
  }
  switch (options->command) {
    case Command::help:
      std::fputs(cli::helpText().c_str(), stdout);
      return kOk;
    case Command::version:
      std::puts(cli::versionText().c_str());
      return kOk;
    case Command::agentGuide:
      return cli::printAgentGuide();
    case Command::update:
      return cli::updateTallyfin(*options, migratedPreferences());
    case Command::schedule:
      return cli::scheduleScans(*options, migratedPreferences(),
                                Scheduler(platform::LaunchAgents(platform::LaunchAgents::forThisUser())));
    case Command::autopilot:
      return cli::setUpAutopilot(*options, migratedPreferences());
    default:
      break;
  }
  const std::string home = platform::homeFolder();
  switch (options->command) {
    case Command::connect:
      return cli::connectClient(*options, home);
    case Command::disconnect:
      return cli::disconnectClient(*options, home);
    case Command::clients:
      return cli::listClients(home);
    case Command::apps:
      return cli::listApps(*options, home);
    default:
      break;
  }
  const Store store = options->store ? Store(*options->store) : Store::standard();
  switch (options->command) {
    case Command::duplicates:
      return cli::findDuplicates(*options, store, home);
    case Command::mcp:
      return cli::serveMcp(*options, store, home);
    case Command::systemData:
      return cli::explainSystemData(*options, store, home);
    case Command::history:
      return cli::showHistory(*options, store, home);
    case Command::trash:
      return cli::listTrash(*options, store, home);
    case Command::undo:
      return cli::undoTrash(*options, store, home);
    case Command::keep:
      return cli::editKeepList(*options, store, home);
    default:
      break;
  }
  return options->noScan ? showSavedScan(*options, store, home) : scan(*options, store, home);
}
