// Feeds arbitrary request lines to the MCP server's handler. The server works on
// a home folder and data folder of its own, made once in the temp folder, so a
// line that happens to call a tool touches nothing else.

#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "kit/agents/mcp_server.h"

namespace {

tallyfin::MCPServer& server() {
  static std::unique_ptr<tallyfin::MCPServer> instance = [] {
    char pattern[] = "/tmp/tallyfin-fuzz-XXXXXX";
    const std::string home = ::mkdtemp(pattern);
    ::setenv("XDG_DATA_HOME", (home + "/.local/share").c_str(), 1);
    tallyfin::McpSettings settings{tallyfin::Store(home + "/data"), home, "fuzz", home, {home + "/Applications"},
                                   std::nullopt, tallyfin::systemTrasher(home), nullptr};
    return std::make_unique<tallyfin::MCPServer>(std::move(settings));
  }();
  return *instance;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string line(reinterpret_cast<const char*>(data), size);
  const auto reply = server().handle(line);
  // Whatever came in, a reply is one line of JSON.
  if (reply && reply->find('\n') != std::string::npos) __builtin_trap();
  return 0;
}
