#include "kit/report/scan_report.h"

#include <sys/stat.h>

#include <cerrno>

#include <nlohmann/json.hpp>
#include <simdjson.h>

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

namespace {

simdjson::dom::element required(const simdjson::dom::element& json, std::string_view key) {
  simdjson::dom::element value;
  if (json[key].get(value)) throw std::invalid_argument("the report has no \"" + std::string(key) + "\"");
  return value;
}

// The tree is nearly all of the bytes and is read straight from simdjson's document;
// the short lists keep their one mapping, handed over as text.
template <class T>
T decodeSmall(const simdjson::dom::element& value) {
  return nlohmann::json::parse(simdjson::minify(value)).get<T>();
}

}  // namespace

Expected<ScanReport, std::string> decodeReport(std::string_view text) {
  try {
    simdjson::dom::parser parser;
    const simdjson::dom::element json = parser.parse(text.data(), text.size());
    ScanReport report;
    report.version = static_cast<int>(int64_t(required(json, "version")));
    report.date = double(required(json, "date"));
    report.duration = double(required(json, "duration"));
    report.home = std::string_view(required(json, "home"));
    report.disk = decodeSmall<DiskInfo>(required(json, "disk"));
    report.scannedBytes = int64_t(required(json, "scannedBytes"));
    report.fileCount = int64_t(required(json, "fileCount"));
    auto tree = decodeDiskNode(required(json, "tree"));
    if (!tree) return fail(tree.error());
    report.tree = std::move(tree).value();
    report.buckets = decodeSmall<std::vector<Bucket>>(required(json, "buckets"));
    report.hotspots = decodeSmall<std::vector<Hotspot>>(required(json, "hotspots"));
    report.items = decodeSmall<std::vector<CleanupItem>>(required(json, "items"));
    report.largeFiles = decodeSmall<std::vector<LargeFile>>(required(json, "largeFiles"));
    report.types = decodeSmall<std::vector<TypeTotal>>(required(json, "types"));
    if (simdjson::dom::element changes; !json["changes"].get(changes) && !changes.is_null()) {
      report.changes = decodeSmall<ChangeSummary>(changes);
    }
    report.deniedCount = int64_t(required(json, "deniedCount"));
    // Reports saved before the sample was kept still load.
    if (simdjson::dom::element sample; !json["deniedSample"].get(sample)) {
      report.deniedSample = decodeSmall<std::vector<std::string>>(sample);
    }
    report.taskCount = static_cast<int>(int64_t(required(json, "taskCount")));
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
