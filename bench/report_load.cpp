// tallyfin-report-load [--write-large LEAVES] STORE [ROUNDS]: how long the saved
// report in STORE takes to come back, and the MCP server's disk_status with it.
// --write-large first saves into STORE a report whose tree keeps LEAVES folders
// with long names (250,000 give about 30 MB, the report of a big disk that keeps
// many children). Each round, in one process:
//   read       the bytes of report.json (the floor of any loader)
//   parseOnly  nlohmann's parse of those bytes into its own document, nothing kept:
//              the parser the report was read with before, as a yardstick
//   load       a full load: the report with its tree and every list
//   mcpFirst   disk_status from a fresh server (the load included)
//   mcpCached  disk_status again, the report already loaded
// Prints one JSON line with the median of each in milliseconds and the sizes.

#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "kit/agents/mcp_server.h"
#include "kit/base/small_file.h"
#include "kit/report/scan_report.h"

namespace {

using namespace tallyfin;

double milliseconds(const std::function<void()>& body) {
  const auto started = std::chrono::steady_clock::now();
  body();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

size_t countNodes(const DiskNode& node) {
  size_t count = 1;
  for (const auto& child : node.children) count += countNodes(child);
  return count;
}

ScanReport largeReport(int leaves, const std::string& home) {
  ScanReport report;
  report.home = home;
  report.tree.name = "/";
  const int perFolder = 500;
  for (int f = 0; f < leaves / perFolder; ++f) {
    DiskNode folder;
    folder.name = "folder-with-a-fairly-long-name-" + std::to_string(f);
    for (int l = 0; l < perFolder; ++l) {
      DiskNode leaf;
      leaf.name = "Application Support Item With Long Name " + std::to_string(l);
      leaf.size = 1'048'576LL * (l + 1);
      leaf.files = l + 3;
      leaf.modified = 1'790'000'000 + l;
      folder.size += leaf.size;
      folder.files += leaf.files;
      folder.children.push_back(std::move(leaf));
    }
    report.tree.size += folder.size;
    report.tree.files += folder.files;
    report.tree.children.push_back(std::move(folder));
  }
  report.fileCount = report.tree.files;
  report.scannedBytes = report.tree.size;
  return report;
}

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "tallyfin-report-load: %s\n", what);
  std::exit(1);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  int largeLeaves = 0;
  if (arguments.size() >= 2 && arguments[0] == "--write-large") {
    largeLeaves = std::atoi(arguments[1].c_str());
    arguments.erase(arguments.begin(), arguments.begin() + 2);
  }
  if (arguments.empty()) {
    std::fputs("usage: tallyfin-report-load [--write-large LEAVES] STORE [ROUNDS]\n", stderr);
    return 64;
  }
  const Store store(arguments[0]);
  const int rounds = arguments.size() > 1 ? std::max(1, std::atoi(arguments[1].c_str())) : 9;
  if (largeLeaves > 0) {
    const char* home = std::getenv("HOME");
    require(store.saveText(encodeReport(largeReport(largeLeaves, home ? home : "/")), Store::File::report).ok(),
            "cannot save the large report");
  }
  const auto first = readReport(store);
  require(first.ok(), "no report in that store: scan into it first");
  const std::string request =
      R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"disk_status","arguments":{}}})";

  std::map<std::string, std::vector<double>> times;
  size_t bytes = 0;
  for (int round = 0; round < rounds; ++round) {
    std::optional<std::string> text;
    times["read"].push_back(milliseconds([&] { text = store.loadText(Store::File::report); }));
    require(text.has_value(), "report.json cannot be read");
    bytes = text->size();
    times["parseOnly"].push_back(milliseconds([&] {
      require(!nlohmann::json::parse(*text, nullptr, false).is_discarded(), "report.json does not parse");
    }));
    times["load"].push_back(milliseconds([&] { require(readReport(store).ok(), "the report does not load"); }));
    MCPServer server(McpSettings::forThisSystem(store, first->home, "bench"));
    times["mcpFirst"].push_back(milliseconds([&] { require(server.handle(request).has_value(), "no reply"); }));
    times["mcpCached"].push_back(milliseconds([&] { require(server.handle(request).has_value(), "no reply"); }));
  }
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  nlohmann::json line = {{"bytes", bytes},
                         {"treeNodes", countNodes(first->tree)},
                         {"items", first->items.size()},
                         {"fileCount", first->fileCount},
                         {"rounds", rounds},
                         {"peakRssMB", static_cast<double>(usage.ru_maxrss) / 1024.0}};
  for (const auto& [name, values] : times) line[name + "Ms"] = std::round(median(values) * 100) / 100;
  std::printf("%s\n", line.dump().c_str());
  return 0;
}
