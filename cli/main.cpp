// tallyfin: scans the disk through the same pipeline as the app, saves the
// report into the shared data folder and prints a summary. Results go to
// standard output; everything else to standard error as "tallyfin: " lines.

#include <signal.h>
#include <sys/stat.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/summary.h"
#include "kit/cleanup/keep_list.h"
#include "kit/platform/user_folders.h"
#include "kit/scan/scan_pipeline.h"
#include "kit/store/store.h"

namespace {

using namespace tallyfin;

enum ExitCode { kOk = 0, kScanFailed = 1, kBusy = 2, kNoReport = 3, kUsage = 64 };

CancelToken* interruptToken = nullptr;

void cancelOnInterrupt(int) {
  if (interruptToken) interruptToken->cancel();
}

void diagnose(const std::string& message) { std::fprintf(stderr, "tallyfin: %s\n", message.c_str()); }

double secondsSinceEpoch() {
  using namespace std::chrono;
  return duration<double>(system_clock::now().time_since_epoch()).count();
}

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
  const auto text = store.loadText(Store::File::report);
  auto report = text ? decodeReport(*text) : Expected<ScanReport, std::string>(fail(std::string()));
  if (!report) {
    diagnose("no saved scan in " + store.directory() +
             " — run tallyfin without --no-scan to make one.");
    return kNoReport;
  }
  return printSummary(options, store, *report);
}

// A folder given on the command line, as the real path the scanner starts from.
std::string scanRoot(const std::string& given) {
  char resolved[PATH_MAX];
  if (::realpath(given.c_str(), resolved)) return resolved;
  if (given.starts_with("/")) return given;
  char current[PATH_MAX];
  return ::getcwd(current, sizeof current) ? std::string(current) + "/" + given : given;
}

int scan(const cli::Options& options, const Store& store, const std::string& home) {
  ScanConfiguration configuration = ScanConfiguration::wholeDisk(home);
  if (options.root) {
    configuration.root = scanRoot(*options.root);
    configuration.displayRoot = configuration.root;
    struct stat info;
    if (::stat(configuration.root.c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) {
      diagnose(configuration.root + " is not a folder — give --root a folder to scan.");
      return kUsage;
    }
  }
  const ScanPipeline pipeline{store, configuration, NotificationSettings{}, {},
                              ScanTrigger::manual};

  CancelToken cancel;
  interruptToken = &cancel;
  struct sigaction action {};
  action.sa_handler = cancelOnInterrupt;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);

  cli::ProgressLine progress(home);
  auto result = pipeline.run(cancel, secondsSinceEpoch(),
                             [&progress](const ScanProgress& p) { progress.update(p); });
  progress.clear();
  interruptToken = nullptr;

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

}  // namespace

int main(int argc, char** argv) {
  const auto options = cli::parseOptions(std::vector<std::string>(argv + 1, argv + argc));
  if (!options) {
    diagnose(options.error());
    std::fprintf(stderr, "%s\n", std::string(cli::kUsage).c_str());
    return kUsage;
  }
  switch (options->command) {
    case cli::Options::Command::help:
      std::fputs(cli::helpText().c_str(), stdout);
      return kOk;
    case cli::Options::Command::mcp:
    case cli::Options::Command::connect:
    case cli::Options::Command::clients:
    case cli::Options::Command::duplicates:
      diagnose("this command is not available yet in this build.");
      return kUsage;
    case cli::Options::Command::scan:
      break;
  }
  const std::string home = platform::homeFolder();
  const Store store = options->store ? Store(*options->store) : Store::standard();
  return options->noScan ? showSavedScan(*options, store) : scan(*options, store, home);
}
