#include "app/model/agent_connections.h"

#include "app/model/off_main_thread.h"
#include "kit/agents/agent_guide.h"

namespace tallyfin::app {
namespace {

std::vector<AgentConnections::Client> readClients(const std::string& home) {
  std::vector<AgentConnections::Client> clients;
  for (const AgentClient client : AgentClients::allCases()) {
    clients.push_back({client, AgentClients::isInstalled(client, home), AgentClients::isConnected(client, home),
                       AgentClients::configPath(client, home)});
  }
  return clients;
}

}  // namespace

AgentConnections::AgentConnections(std::string home, std::string executable, QObject* parent)
    : QObject(parent), home_(std::move(home)), executable_(std::move(executable)) {
  // One at a time: two edits of one settings file would only trip each other up.
  pool_.setMaxThreadCount(1);
}

AgentConnections::~AgentConnections() { pool_.waitForDone(); }

void AgentConnections::refresh() {
  if (loading_) return;
  loading_ = true;
  emit changed();
  const int serial = ++serial_;
  offMainThread(pool_, this, [home = home_] { return readClients(home); },
                [this, serial](std::vector<Client> clients) {
                  loading_ = false;
                  // A change that finished later read the files after this read did.
                  if (serial == serial_) {
                    clients_ = std::move(clients);
                    hasLoaded_ = true;
                  }
                  emit changed();
                });
}

void AgentConnections::connectClient(AgentClient client) { change(client, true); }

void AgentConnections::disconnectClient(AgentClient client) { change(client, false); }

void AgentConnections::change(AgentClient client, bool connect) {
  if (busy_) return;
  busy_ = client;
  failure_.reset();
  emit changed();
  struct Outcome {
    std::optional<SetupError> error;
    std::vector<Client> clients;
  };
  const int serial = ++serial_;
  offMainThread(
      pool_, this,
      [home = home_, executable = executable_, client, connect] {
        Outcome outcome;
        outcome.error = connect ? AgentClients::connect(client, executable, home)
                                : AgentClients::disconnect(client, home);
        outcome.clients = readClients(home);
        return outcome;
      },
      [this, client, connect, serial](Outcome outcome) {
        busy_.reset();
        if (serial == serial_) {
          clients_ = std::move(outcome.clients);
          hasLoaded_ = true;
        }
        const std::string title(AgentClients::title(client));
        if (outcome.error) {
          // A file changed meanwhile is read again: trying once more is the way out.
          const bool byHand = outcome.error->kind != SetupError::Kind::changedMeanwhile;
          failure_ = Failure{client, outcome.error->message(),
                             byHand ? std::optional(manualCommand(client)) : std::nullopt};
          if (onNotice) onNotice(failure_->message, false);
        } else if (onNotice) {
          onNotice(connect ? title + " is connected to Tallyfin. Restart " + title + " to use it."
                           : title + " no longer uses Tallyfin.",
                   true);
        }
        emit changed();
      });
}

std::string AgentConnections::manualCommand(AgentClient client) const {
  return AgentClients::manualCommand(client, executable_);
}

std::string AgentConnections::guide() const { return AgentGuide::markdown(executable_); }

}  // namespace tallyfin::app
