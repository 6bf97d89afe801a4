#include "app/views/agents_screen.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>

#include "app/model/app_model.h"
#include "app/views/colors.h"
#include "app/views/copy_block.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/tool_parts.h"

namespace tallyfin::app {
namespace {

const AgentConnections::Client* clientNamed(const AgentConnections& agents, const std::string& cliName) {
  for (const auto& client : agents.clients()) {
    if (AgentClients::cliName(client.client) == cliName) return &client;
  }
  return nullptr;
}

ToolListModel::Cell yesNo(bool yes) { return {yes ? "yes" : "no", yes ? 1 : 0}; }

// What the state line says, in the order that matters: a change under way, the
// last failure, loading, then what to do next.
QString stateText(const AgentConnections& agents) {
  if (agents.busy()) {
    return "Changing " + qstr(AgentClients::title(*agents.busy())) + "'s settings\u2026";
  }
  if (agents.failure()) {
    return qstr(agents.failure()->message) +
           (agents.failure()->manualCommand ? " The entry to add by hand is below." : QString());
  }
  if (!agents.hasLoaded()) return "Looking for AI assistants\u2026";
  const auto& clients = agents.clients();
  if (std::none_of(clients.begin(), clients.end(), [](const auto& client) { return client.installed; })) {
    return "None of these assistants is installed for you. Install one and press Refresh \u2014 or connect it "
           "before you install it: Connect writes its settings file all the same.";
  }
  if (std::none_of(clients.begin(), clients.end(), [](const auto& client) { return client.connected; })) {
    return "No assistant uses Tallyfin yet. Choose one and press Connect, then restart the assistant.";
  }
  return {};
}

}  // namespace

AgentsScreen::AgentsScreen(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      state_(stateLine(this)),
      refresh_(new QPushButton("Refresh", this)),
      rows_(new ToolListModel({"Assistant", "Installed", "Connected", "Settings file"}, this)),
      clients_(new ToolList(rows_, "AI assistants", this)),
      filter_(clients_->makeFilterBox("Find an assistant", "Find an assistant", this)),
      connect_(new QPushButton("Connect", this)),
      disconnect_(new QPushButton("Disconnect", this)),
      manualHeading_(sectionHeading({}, this)),
      manualNote_(textLine({}, this)),
      manual_(new CopyBlock(model, "the entry to add by hand", 7, this)),
      guide_(new CopyBlock(model, "the agent guide", 12, this)) {
  refresh_->setObjectName("refreshAgents");
  refresh_->setAccessibleName("Look at the assistants' settings again");
  connect_->setObjectName("connectAgent");
  connect_->setAccessibleName("Connect the chosen assistant to Tallyfin");
  connect_->setToolTip("Adds Tallyfin to the assistant's settings, keeping a dated backup of the file");
  disconnect_->setObjectName("disconnectAgent");
  disconnect_->setAccessibleName("Disconnect the chosen assistant from Tallyfin");
  manual_->setObjectName("manualEntry");
  guide_->setObjectName("agentGuide");
  clients_->setRootIsDecorated(false);
  clients_->sortByColumn(-1, Qt::AscendingOrder);  // the assistants' own order until a header is clicked
  clients_->fitRows(7);
  guide_->setText(qstr(model_.agents().guide()));

  auto* content = new QWidget(this);
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(24, 18, 24, 18);
  auto* top = new QHBoxLayout;
  top->addWidget(pageTitle("AI Agents", content), 1);
  auto* help = new QPushButton("About the MCP Server", content);
  help->setAccessibleName("Open the help article on the MCP server");
  connect(help, &QPushButton::clicked, this, [this] { model_.openHelp("mcp-server"); });
  top->addWidget(help);
  top->addWidget(refresh_);
  layout->addLayout(top);
  QLabel* intro = textLine("AI assistants can read this disk's state through Tallyfin's MCP server and, after you "
                            "agree to a preview, move suggestions to the Trash. Connect adds the server to an "
                            "assistant's own settings: " +
                                qstr(model_.agents().executable()) + " mcp.",
                            content);
  intro->setTextFormat(Qt::PlainText);
  layout->addWidget(intro);
  layout->addWidget(state_);
  layout->addWidget(filter_);
  layout->addWidget(clients_);
  auto* actions = new QHBoxLayout;
  actions->addStretch(1);
  actions->addWidget(connect_);
  actions->addWidget(disconnect_);
  layout->addLayout(actions);
  layout->addWidget(manualHeading_);
  layout->addWidget(manualNote_);
  layout->addWidget(manual_);
  layout->addWidget(sectionHeading("Agent guide", content));
  layout->addWidget(textLine("Paste this into an agent's instruction file (AGENTS.md or CLAUDE.md) so it uses "
                             "Tallyfin the safe way.",
                             content));
  layout->addWidget(guide_);
  layout->addStretch(1);
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->addWidget(scrolling(content, this));
  setTabOrder(refresh_, filter_);
  setTabOrder(filter_, clients_);
  setTabOrder(clients_, connect_);
  setTabOrder(connect_, disconnect_);

  AgentConnections& agents = model_.agents();
  connect(&agents, &AgentConnections::changed, this, &AgentsScreen::refresh);
  connect(refresh_, &QPushButton::clicked, &agents, &AgentConnections::refresh);
  connect(clients_->selectionModel(), &QItemSelectionModel::currentChanged, this, &AgentsScreen::showCurrent);
  connect(connect_, &QPushButton::clicked, this, [this] {
    if (const auto* row = clients_->currentRow()) model_.agents().connectClient(*AgentClients::named(row->key));
  });
  connect(disconnect_, &QPushButton::clicked, this, [this] {
    if (const auto* row = clients_->currentRow()) model_.agents().disconnectClient(*AgentClients::named(row->key));
  });
  refresh();
}

void AgentsScreen::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  // Another program may have changed the settings files since.
  model_.agents().refresh();
}

void AgentsScreen::refresh() {
  const AgentConnections& agents = model_.agents();
  std::vector<ToolListModel::Row> rows;
  for (const auto& client : agents.clients()) {
    const QString file = pathText(client.configPath, model_.home());
    rows.push_back({std::string(AgentClients::cliName(client.client)),
                    {{qstr(AgentClients::title(client.client)), {}},
                     yesNo(client.installed),
                     yesNo(client.connected),
                     {file, {}}},
                    file});
  }
  clients_->setRows(std::move(rows));
  refresh_->setEnabled(!agents.isLoading());
  state_->setText(stateText(agents));
  state_->setVisible(!state_->text().isEmpty());
  tintText(state_, agents.failure() ? errorColor(palette()) : palette().color(QPalette::WindowText));
  showCurrent();
}

void AgentsScreen::showCurrent() {
  const AgentConnections& agents = model_.agents();
  const auto* row = clients_->currentRow();
  const auto* client = row ? clientNamed(agents, row->key) : nullptr;
  connect_->setEnabled(client && !agents.busy());
  disconnect_->setEnabled(client && client->connected && !agents.busy());
  connect_->setText(client && client->connected ? "Connect Again" : "Connect");
  for (QWidget* part : std::initializer_list<QWidget*>{manualHeading_, manualNote_, manual_}) {
    part->setVisible(client != nullptr);
  }
  if (!client) return;
  const QString title = qstr(AgentClients::title(client->client));
  manualHeading_->setText("Connect " + title + " by hand");
  manualNote_->setText(client->client == AgentClient::claudeCode
                           ? "Run this in a terminal:"
                           : client->client == AgentClient::codex
                                 ? "Add this block to " + pathText(client->configPath, model_.home()) + ":"
                                 : "Merge this into " + pathText(client->configPath, model_.home()) + ":");
  manual_->setText(qstr(agents.manualCommand(client->client)));
}

}  // namespace tallyfin::app
