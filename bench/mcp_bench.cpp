// How fast the MCP server answers disk_status once the saved report is cached:
// the whole request line in, the reply line out. Uses the saved report of this
// machine (or of TALLYFIN_BENCH_STORE), so the tree and suggestions are real.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "kit/agents/mcp_server.h"
#include "kit/platform/user_folders.h"

namespace {

using namespace tallyfin;

void BM_DiskStatusWarmCache(benchmark::State& state) {
  const char* given = std::getenv("TALLYFIN_BENCH_STORE");
  const Store store = given ? Store(given) : Store::standard();
  const auto report = loadReport(store);
  if (!report) {
    state.SkipWithError("no saved report: run tallyfin first, or set TALLYFIN_BENCH_STORE");
    return;
  }
  MCPServer server(McpSettings::forThisSystem(store, report->home, "bench"));
  const std::string line =
      R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"disk_status","arguments":{}}})";
  if (!server.handle(line)) state.SkipWithError("no reply");  // fills the cache
  for (auto _ : state) benchmark::DoNotOptimize(server.handle(line));
  state.counters["items"] = static_cast<double>(report->items.size());
}
BENCHMARK(BM_DiskStatusWarmCache)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
