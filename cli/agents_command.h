#pragma once

#include <string>

#include "cli/options.h"

namespace tallyfin::cli {

// tallyfin connect/disconnect CLIENT, clients and agent-guide; return the exit code.
int connectClient(const Options& options, const std::string& home);
int disconnectClient(const Options& options, const std::string& home);
int listClients(const std::string& home);
int printAgentGuide();

}  // namespace tallyfin::cli
