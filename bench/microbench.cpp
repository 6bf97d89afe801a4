// Google Benchmark of the scanner's hot functions: what runs once per entry
// (file kind, marker names), once per folder (listing, pruning), and once per
// report (tree JSON).

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "kit/cleanup/buckets.h"
#include "kit/cleanup/cleanup_rules.h"
#include "kit/scan/directory_reader.h"
#include "kit/scan/scanner.h"
#include "kit/report/scan_report.h"
#include "kit/scan/disk_node.h"
#include "kit/scan/project_rules.h"
#include "kit/scan/scan_configuration.h"
#include "kit/store/file_kind.h"

namespace {

using namespace tallyfin;

const std::vector<std::string> kNames = {
    "index.js", "README.md", "package.json", "libfoo.so.1", "IMG_2041.HEIC", "Makefile",
    "model-00001-of-00004.safetensors", "__init__.py", "archive.tar.zst", ".DS_Store"};

void BM_FileKindOf(benchmark::State& state) {
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(file_kind::of(kNames[i++ % kNames.size()]));
  }
}
BENCHMARK(BM_FileKindOf);

void BM_SiblingMarkersNote(benchmark::State& state) {
  for (auto _ : state) {
    SiblingMarkers markers;
    for (const auto& name : kNames) markers.note(name);
    benchmark::DoNotOptimize(markers);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kNames.size()));
}
BENCHMARK(BM_SiblingMarkersNote);

// A folder of `count` empty files in a temporary folder, removed at exit.
class WideFolder {
 public:
  explicit WideFolder(int count) {
    char pattern[] = "/tmp/tallyfin-bench-XXXXXX";
    path_ = mkdtemp(pattern);
    for (int i = 0; i < count; ++i) {
      const std::string file = path_ + "/file-" + std::to_string(i) + ".txt";
      ::close(::open(file.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
    }
  }
  ~WideFolder() { std::filesystem::remove_all(path_); }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void BM_ListFolder(benchmark::State& state) {
  const WideFolder folder(static_cast<int>(state.range(0)));
  DirectoryReader reader({});
  for (auto _ : state) {
    auto listing = reader.list(folder.path());
    benchmark::DoNotOptimize(listing.ok());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ListFolder)->Arg(100)->Arg(40'000)->Unit(benchmark::kMicrosecond);

std::vector<DiskNode> children(int count) {
  std::vector<DiskNode> nodes(count);
  for (int i = 0; i < count; ++i) {
    nodes[i].name = "child-" + std::to_string(i);
    nodes[i].size = (i * 7919 % 1000) * 1'000'000LL;
    nodes[i].files = i;
  }
  return nodes;
}

void BM_Prune(benchmark::State& state) {
  const ScanConfiguration configuration("/scan", "/home/ann", {});
  const auto input = children(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(prune(input, 1LL << 50, 1'000'000, "/scan/x", configuration));
  }
}
BENCHMARK(BM_Prune)->Arg(10)->Arg(1000);

void BM_EncodeTree(benchmark::State& state) {
  DiskNode root;
  root.name = "/";
  root.children = children(60);
  for (auto& child : root.children) child.children = children(60);
  for (auto _ : state) benchmark::DoNotOptimize(encodeJson(root));
}
BENCHMARK(BM_EncodeTree)->Unit(benchmark::kMicrosecond);

// The 1,000,000-file fixture that bench/scan-vs-peers.sh builds; it plays the home folder.
const std::string& millionFileHome() {
  static const std::string home = [] {
    const char* base = std::getenv("TFBENCH");
    return std::string(base ? base : "/tmp/tfbench") + "/h1m";
  }();
  return home;
}

// The pruned tree of a whole scan of that fixture.
const DiskNode& millionFileTree() {
  static const DiskNode tree = [] {
    const std::string& root = millionFileHome();
    if (!std::filesystem::exists(root)) return DiskNode{};
    CancelToken cancel;
    auto scan = Scanner(ScanConfiguration(root, root)).run(cancel);
    return scan ? scan->tree : DiskNode{};
  }();
  return tree;
}

void BM_CleanupItems(benchmark::State& state) {
  const DiskNode& tree = millionFileTree();
  if (tree.children.empty()) {
    state.SkipWithError("run bench/scan-vs-peers.sh once to build the fixture");
    return;
  }
  const CleanupRules rules(millionFileHome());
  for (auto _ : state) benchmark::DoNotOptimize(rules.items(tree, {}, {}));
}
BENCHMARK(BM_CleanupItems)->Unit(benchmark::kMillisecond);

void BM_Buckets(benchmark::State& state) {
  const DiskNode& tree = millionFileTree();
  for (auto _ : state) benchmark::DoNotOptimize(Analysis::buckets(tree, millionFileHome()));
}
BENCHMARK(BM_Buckets)->Unit(benchmark::kMicrosecond);

// A report whose tree holds `leaves` folders with long names: about 30 MB of JSON
// for 250,000, the size of a big disk's report with many kept children.
std::string largeReport(int leaves) {
  ScanReport report;
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
    report.tree.children.push_back(std::move(folder));
  }
  return encodeReport(report);
}

void BM_LoadReport(benchmark::State& state) {
  const std::string text = largeReport(250'000);
  for (auto _ : state) benchmark::DoNotOptimize(decodeReport(text).ok());
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
  state.counters["MB"] = static_cast<double>(text.size()) / 1e6;
}
BENCHMARK(BM_LoadReport)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
