#include "cli/duplicates_command.h"

#include <sys/stat.h>

#include <chrono>
#include <cstdio>

#include "cli/command_support.h"
#include "cli/interrupt.h"
#include "cli/progress_line.h"
#include "cli/text_layout.h"
#include "kit/agents/duplicates_json.h"
#include "kit/store/format.h"
#include "kit/report/scan_report.h"
#include "kit/tools/duplicate_finder.h"

namespace tallyfin::cli {
namespace {

using namespace exit_code;

std::string progressText(const DuplicateProgress& progress) {
  if (progress.listedFiles) return "Listing: " + groupedNumber(*progress.listedFiles) + " files";
  const int64_t percent = progress.totalBytes > 0 ? progress.hashedBytes * 100 / progress.totalBytes : 0;
  return "Comparing: " + std::to_string(percent) + "% of " + Format::bytes(progress.totalBytes);
}

// The candidates of the search and what it is about; an exit code when there is nothing to search.
struct Plan {
  std::vector<DuplicateCandidate> candidates;
  AgentJson::DuplicatesFound found;
  DuplicateSearch search;
};

int planFolderSearch(const Options& options, const std::string& home, Plan& plan, ProgressLine& progress) {
  const std::string folder = givenPath(*options.folder, home);
  struct stat info;
  if (::stat(folder.c_str(), &info) != 0) {
    diagnose(folder + " does not exist — give --duplicates a folder to search.");
    return kBadArguments;
  }
  if (!S_ISDIR(info.st_mode)) {
    diagnose(folder + " is not a folder — give --duplicates a folder to search.");
    return kBadArguments;
  }
  plan.found.folder = folder;
  plan.search.home = DuplicateFinder::searchHome(folder, home);
  plan.search.minimum = options.minimumBytes.value_or(DuplicateFinder::kFolderMinimum);
  plan.search.progress = [&](const DuplicateProgress& p) { progress.show(progressText(p), folder); };
  auto collected = DuplicateFinder::collect(folder, plan.search);
  plan.candidates = std::move(collected.candidates);
  plan.found.truncated = collected.truncated;
  return kOk;
}

int planScanSearch(const Options& options, const Store& store, const std::string& home, Plan& plan) {
  const auto report = savedReport(store, " — run tallyfin to scan first, or give --duplicates a folder.");
  if (!report) return kNoReport;
  plan.search.home = home;
  plan.search.minimum = options.minimumBytes.value_or(DuplicateFinder::kDefaultMinimum);
  plan.candidates = DuplicateFinder::candidates(report->largeFiles);
  return kOk;
}

}  // namespace

int findDuplicates(const Options& options, const Store& store, const std::string& home) {
  const auto started = std::chrono::steady_clock::now();
  CancelToken cancel;
  const CancelOnInterrupt interrupt(cancel);
  ProgressLine progress(home);
  DuplicateStats stats;
  Plan plan;
  plan.search.cancel = &cancel;
  plan.search.stats = &stats;
  plan.search.fullHash = options.fullHash;
  const int planned = options.folder ? planFolderSearch(options, home, plan, progress)
                                     : planScanSearch(options, store, home, plan);
  if (planned != kOk) return planned;

  DuplicateCache cache(store);
  plan.search.cache = &cache;
  plan.search.progress = [&](const DuplicateProgress& p) { progress.show(progressText(p)); };
  plan.found.groups = DuplicateFinder::find(plan.candidates, plan.search);
  plan.found.minimum = plan.search.minimum;
  progress.clear();
  if (auto saved = cache.save(); !saved) diagnose(saved.error().message);
  if (cancel.isCancelled()) {
    diagnose("the search was cancelled — nothing was compared to the end.");
    return kScanFailed;
  }

  const auto counts = stats.counts();
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  std::fprintf(stderr, "tallyfin: compared %s files (%s of the same size), read %s in %.1f s\n",
               groupedNumber(counts.candidates).c_str(), groupedNumber(counts.sameSize).c_str(),
               Format::bytes(counts.bytes).c_str(), seconds);
  const auto json = AgentJson::duplicates(plan.found);
  // Paths are the bytes on disk; a name that is not UTF-8 is shown with replacement marks.
  const std::string text = options.json ? json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n"
                                        : textDuplicates(json, home);
  std::fwrite(text.data(), 1, text.size(), stdout);
  return kOk;
}

std::string textDuplicates(const nlohmann::json& found, const std::string& home) {
  const auto groups = found.at("groups");
  const int64_t reclaimable = found.at("reclaimable_bytes").get<int64_t>();
  const std::string where = found.contains("folder")
                                ? " in " + terminalSafe(Format::shortPath(found["folder"].get<std::string>(), home))
                                : " among the last scan's big files";
  const std::string floor = Format::bytes(found.at("min_size_mb").get<int64_t>() * 1'000'000);
  if (groups.empty()) return "No identical files of " + floor + " or more" + where + ".\n";

  const size_t count = found.at("group_count").get<size_t>();
  std::string text = groupedNumber(static_cast<int64_t>(count)) + (count == 1 ? " set" : " sets") +
                     " of identical files" + where + "; removing the extra copies frees " +
                     Format::bytes(reclaimable) + ".\n";
  bool sampled = false;
  for (const auto& group : groups) {
    const int64_t size = group.at("file_size").get<int64_t>();
    const int64_t frees = group.at("reclaimable").get<int64_t>();
    const auto& files = group.at("files");
    sampled = sampled || !group.at("verified").get<bool>();
    const std::string gain =
        DuplicateFinder::freesNextToNothing(size, frees) ? "clone — frees ~0" : "frees " + Format::bytes(frees);
    text += "\n" + Format::bytes(size) + " × " + std::to_string(files.size()) + ", " + gain + "\n";
    for (const auto& file : files) {
      text += file.at("keep").get<bool>() ? "  keep  " : "        ";
      text += terminalSafe(Format::shortPath(file.at("path").get<std::string>(), home)) + "  (" +
              file.at("modified").get<std::string>().substr(0, 10) + ")\n";
    }
  }
  if (found.contains("note")) text += "\n" + found["note"].get<std::string>() + "\n";
  text += sampled ? "\nCompared by 50 samples per file (--full hashes every byte). "
                  : "\nCompared by full-content hashes. ";
  text += "Extra copies are checked byte for byte before anything moves.\n";
  return text;
}

}  // namespace tallyfin::cli
