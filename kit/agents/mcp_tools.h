#pragma once

// The fixed table of tools the MCP server offers, in the order it lists them.

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tallyfin {

struct McpTool {
  std::string name;
  std::string title;
  std::string description;
  nlohmann::json properties;  // parameter name to its JSON schema
  std::vector<std::string> required;
  bool readOnly = true;
  bool destructive = false;

  // The tool as tools/list shows it, with its input schema and annotations.
  nlohmann::json listing() const;
};

const std::vector<McpTool>& mcpTools();

}  // namespace tallyfin
