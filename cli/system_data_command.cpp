#include "cli/system_data_command.h"

#include <cstdio>

#include "cli/command_support.h"
#include "cli/text_layout.h"
#include "kit/agents/system_data_json.h"
#include "kit/store/format.h"
#include "kit/report/scan_report.h"
#include "kit/tools/system_data.h"

namespace tallyfin::cli {
namespace {

using namespace exit_code;

constexpr size_t kTitleWidth = 28;

std::string textParts(const std::vector<SystemDataPart>& parts) {
  std::string text;
  for (const auto& part : parts) {
    const std::string size = part.size ? Format::bytes(*part.size) : "not measured";
    text += column(terminalSafe(part.title), kTitleWidth) + " " + size + "\n";
    text += "    " + terminalSafe(part.detail) + "\n";
    if (part.action.kind == SystemDataPart::ActionKind::command) {
      text += "    $ " + terminalSafe(part.action.text) + "\n";
    } else if (part.action.kind != SystemDataPart::ActionKind::none) {
      text += "    " + terminalSafe(AgentJson::actionText(part.action)) + "\n";
    }
  }
  return text + "\nNothing here is run for you: copy a command if you want it.\n";
}

}  // namespace

int explainSystemData(const Options& options, const Store& store, const std::string& home) {
  const auto report = savedReport(store, " — run tallyfin to scan first.");
  if (!report) return kNoReport;
  const auto parts = SystemDataScanner::forThisSystem(*report, home);
  const std::string text = options.json ? AgentJson::systemData(parts).dump(2) + "\n" : textParts(parts);
  std::fwrite(text.data(), 1, text.size(), stdout);
  return kOk;
}

}  // namespace tallyfin::cli
