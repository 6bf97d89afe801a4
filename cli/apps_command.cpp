#include "cli/apps_command.h"

#include <cstdio>
#include <ctime>

#include "cli/command_support.h"
#include "cli/text_layout.h"
#include "kit/agents/apps_json.h"
#include "kit/store/format.h"
#include "kit/tools/app_inventory.h"

namespace tallyfin::cli {
namespace {

using namespace exit_code;

constexpr size_t kNameWidth = 36;

std::string appLines(const AppInventory& inventory, const std::string& home) {
  std::string text = "Apps in /Applications and ~/Applications: " + std::to_string(inventory.apps.size()) + "\n";
  for (const auto& app : inventory.apps) {
    text += "  " + column(terminalSafe(app.name + (app.version ? " " + *app.version : "")), kNameWidth) + " " +
            column(Format::bytes(app.size), 10);
    if (app.lastUsed) text += "  last opened " + Format::isoDate(*app.lastUsed).substr(0, 10);
    if (app.refusal) text += "  (" + terminalSafe(*app.refusal) + ")";
    text += "\n";
  }
  if (inventory.flatpak) {
    text += "\nFlatpak apps: " + std::to_string(inventory.flatpak->size()) + "\n";
    for (const auto& app : *inventory.flatpak) {
      text += "  " + column(terminalSafe(app.name + (app.version ? " " + *app.version : "")), kNameWidth) + " " +
              Format::bytes(app.size) + "\n    $ " + terminalSafe(app.command()) + "\n";
    }
  }
  text += "\nLeftovers of Removed Apps: " + std::to_string(inventory.removed.size()) + "\n";
  for (const auto& group : inventory.removed) {
    text += "  " + column(terminalSafe(group.displayName() + " (" + group.bundleID + ")"), kNameWidth) + " " +
            column(Format::bytes(group.size()), 10) + "  last changed " +
            Format::isoDate(group.lastModified).substr(0, 10) + "\n";
    for (const auto& leftover : group.leftovers) text += "    " + terminalSafe(Format::shortPath(leftover.path, home)) + "\n";
  }
  return text;
}

}  // namespace

int listApps(const Options& options, const std::string& home) {
  const auto inventory = AppInventory::forThisSystem(home, static_cast<double>(std::time(nullptr)));
  const std::string text = options.json ? AgentJson::apps(inventory).dump(2) + "\n" : appLines(inventory, home);
  std::fwrite(text.data(), 1, text.size(), stdout);
  return kOk;
}

}  // namespace tallyfin::cli
