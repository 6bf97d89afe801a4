#include "cli/mcp_command.h"

#include <iostream>

#include "cli/command_support.h"
#include "kit/agents/mcp_server.h"

namespace tallyfin::cli {

int serveMcp(const Options& options, const Store& store, const std::string& home) {
  auto settings = McpSettings::forThisSystem(store, home, TALLYFIN_VERSION);
  if (options.root) settings.scanRoot = givenPath(*options.root, home);
  MCPServer server(std::move(settings));
  // Replies are the only thing on standard output; a stray print would break the protocol.
  server.runStdio(std::cin, stdout);
  return exit_code::kOk;
}

}  // namespace tallyfin::cli
