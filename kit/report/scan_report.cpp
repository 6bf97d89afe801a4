#include "kit/report/scan_report.h"

#include <sys/stat.h>

#include <cerrno>

#include <nlohmann/json.hpp>

namespace tallyfin {

std::string encodeReport(const ScanReport& report) {
  nlohmann::json json = {{"version", report.version},
                         {"date", report.date},
                         {"duration", report.duration},
                         {"home", report.home},
                         {"disk", report.disk},
                         {"scannedBytes", report.scannedBytes},
                         {"fileCount", report.fileCount},
                         {"tree", nullptr},
                         {"buckets", report.buckets},
                         {"hotspots", report.hotspots},
                         {"items", report.items},
                         {"largeFiles", report.largeFiles},
                         {"types", report.types},
                         {"deniedCount", report.deniedCount},
                         {"deniedSample", report.deniedSample},
                         {"taskCount", report.taskCount}};
  if (report.changes) json["changes"] = *report.changes;
  // The tree is most of the report and has its own writer; it takes the place
  // of the placeholder. Quotes inside strings are escaped, so the placeholder's
  // text cannot occur anywhere else.
  std::string text = json.dump();
  const std::string placeholder = "\"tree\":null";
  const size_t at = text.find(placeholder);
  std::string tree = "\"tree\":";
  appendJson(tree, report.tree);
  text.replace(at, placeholder.size(), tree);
  return text;
}

Expected<ScanReport, std::string> decodeReport(std::string_view text) {
  try {
    const auto json = nlohmann::json::parse(text);
    ScanReport report;
    report.version = json.at("version").get<int>();
    report.date = json.at("date").get<double>();
    report.duration = json.at("duration").get<double>();
    report.home = json.at("home").get<std::string>();
    report.disk = json.at("disk").get<DiskInfo>();
    report.scannedBytes = json.at("scannedBytes").get<int64_t>();
    report.fileCount = json.at("fileCount").get<int64_t>();
    auto tree = decodeDiskNode(json.at("tree"));
    if (!tree) return fail(tree.error());
    report.tree = std::move(tree).value();
    report.buckets = json.at("buckets").get<std::vector<Bucket>>();
    report.hotspots = json.at("hotspots").get<std::vector<Hotspot>>();
    report.items = json.at("items").get<std::vector<CleanupItem>>();
    report.largeFiles = json.at("largeFiles").get<std::vector<LargeFile>>();
    report.types = json.at("types").get<std::vector<TypeTotal>>();
    if (const auto it = json.find("changes"); it != json.end() && !it->is_null()) {
      report.changes = it->get<ChangeSummary>();
    }
    report.deniedCount = json.at("deniedCount").get<int64_t>();
    // Reports saved before the sample was kept still load.
    if (const auto it = json.find("deniedSample"); it != json.end()) {
      report.deniedSample = it->get<std::vector<std::string>>();
    }
    report.taskCount = json.at("taskCount").get<int>();
    return report;
  } catch (const std::exception& error) {
    return fail(std::string(error.what()));
  }
}

std::optional<ScanReport> loadReport(const Store& store) {
  auto report = readReport(store);
  if (!report) return std::nullopt;
  return std::move(*report);
}

Expected<ScanReport, Error> readReport(const Store& store) {
  if (!store.isTrusted()) return fail(Error{store.trustProblem(), EACCES});
  const std::string path = store.url(Store::File::report);
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0) return fail(Error{"no saved scan in " + store.directory(), ENOENT});
  if (S_ISDIR(info.st_mode)) {
    return fail(Error{path + " is a folder, not a saved scan \u2014 remove it, then scan again.", EISDIR});
  }
  if (const auto text = store.loadText(Store::File::report)) {
    if (auto report = decodeReport(*text)) return std::move(*report);
  }
  return fail(Error{"The saved scan " + path + " is damaged and can't be read", EILSEQ});
}

}  // namespace tallyfin
