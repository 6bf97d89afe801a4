#include "cli/agents_command.h"

#include <cstdio>

#include "cli/command_support.h"
#include "cli/text_layout.h"
#include "kit/agents/agent_client.h"
#include "kit/agents/agent_guide.h"
#include "kit/platform/processes.h"

namespace tallyfin::cli {
namespace {

using namespace exit_code;

int reportSetup(AgentClient client, const std::optional<SetupError>& error, const char* done) {
  if (!error) {
    std::printf("%s %s.\n", std::string(AgentClients::title(client)).c_str(), done);
    return kOk;
  }
  diagnose(error->message());
  if (error->kind != SetupError::Kind::changedMeanwhile) {
    std::fprintf(stderr, "To do it by hand:\n%s\n", AgentClients::manualCommand(client, platform::thisExecutable()).c_str());
  }
  return kScanFailed;
}

}  // namespace

int connectClient(const Options& options, const std::string& home) {
  const AgentClient client = *AgentClients::named(*options.client);
  return reportSetup(client, AgentClients::connect(client, platform::thisExecutable(), home), "is connected to Tallyfin");
}

int disconnectClient(const Options& options, const std::string& home) {
  const AgentClient client = *AgentClients::named(*options.client);
  return reportSetup(client, AgentClients::disconnect(client, home), "no longer uses Tallyfin");
}

int listClients(const std::string& home) {
  std::string text = column("Client", 20) + " " + column("Installed", 10) + " Connected\n";
  for (const AgentClient client : AgentClients::allCases()) {
    text += column(AgentClients::cliName(client), 20) + " " +
            column(AgentClients::isInstalled(client, home) ? "yes" : "no", 10) + " " +
            (AgentClients::isConnected(client, home) ? "yes" : "no") + "\n";
  }
  std::fwrite(text.data(), 1, text.size(), stdout);
  return kOk;
}

int printAgentGuide() {
  const std::string text = AgentGuide::markdown(platform::thisExecutable());
  std::fwrite(text.data(), 1, text.size(), stdout);
  return kOk;
}

}  // namespace tallyfin::cli
