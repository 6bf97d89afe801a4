#pragma once

// The AI assistants of the agents screen: which are installed, which already start
// Tallyfin's MCP server, and connecting or disconnecting one. Each of those reads
// or edits the assistant's own settings file (or runs its claude command), so all
// of it runs off the main thread, one at a time, with the same code as
// `tallyfin connect` and `tallyfin disconnect`.

#include <QObject>
#include <QThreadPool>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "kit/agents/agent_client.h"

namespace tallyfin::app {

class AgentConnections : public QObject {
  Q_OBJECT

 public:
  struct Client {
    AgentClient client = AgentClient::claudeCode;
    bool installed = false;
    bool connected = false;
    std::string configPath;
  };
  // Why the last connect or disconnect did not happen, and how to do it by hand.
  struct Failure {
    AgentClient client = AgentClient::claudeCode;
    std::string message;
    std::optional<std::string> manualCommand;  // none when trying again is the answer
  };

  // `executable`: the tallyfin command the assistants are to start.
  AgentConnections(std::string home, std::string executable, QObject* parent = nullptr);
  // Waits for a connect that is under way, so that no file is left half-handled.
  ~AgentConnections() override;

  const std::vector<Client>& clients() const { return clients_; }
  bool hasLoaded() const { return hasLoaded_; }
  bool isLoading() const { return loading_; }
  // The client being connected or disconnected right now.
  const std::optional<AgentClient>& busy() const { return busy_; }
  const std::optional<Failure>& failure() const { return failure_; }
  const std::string& executable() const { return executable_; }

  // Reads every client's state again.
  void refresh();
  // Does nothing while another change is under way.
  void connectClient(AgentClient client);
  void disconnectClient(AgentClient client);

  // What the user can paste to connect by hand, and the guide for an agent's instructions.
  std::string manualCommand(AgentClient client) const;
  std::string guide() const;

  // Told what a change did, as a sentence, and whether it worked.
  std::function<void(const std::string& text, bool success)> onNotice;

 signals:
  void changed();

 private:
  void change(AgentClient client, bool connect);

  std::string home_;
  std::string executable_;
  QThreadPool pool_;
  std::vector<Client> clients_;
  bool hasLoaded_ = false;
  bool loading_ = false;
  std::optional<AgentClient> busy_;
  std::optional<Failure> failure_;
  int serial_ = 0;
};

}  // namespace tallyfin::app
