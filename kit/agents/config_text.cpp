#include "kit/agents/config_text.h"

#include <cstdio>
#include <vector>

#include "kit/base/text.h"
#include "kit/base/utf8.h"

namespace tallyfin::ConfigText {
namespace {

// TOML lines are trimmed of spaces and tabs only.
constexpr std::string_view kBlanks = " \t";

// Copies the string literal starting at `i` (a quote) to `out`; returns the index after it.
size_t copyString(std::string_view text, size_t i, std::string& out) {
  out += text[i++];
  while (i < text.size()) {
    const char c = text[i++];
    out += c;
    if (c == '\\' && i < text.size()) {
      out += text[i++];
    } else if (c == '"') {
      break;
    }
  }
  return i;
}

bool isOurTable(const std::string& name) {
  for (const std::string_view server : {"mcp_servers.tallyfin", "mcp_servers.moss-ledger"}) {
    if (name == server || name.starts_with(std::string(server) + ".")) return true;
  }
  return false;
}

}  // namespace

std::string withoutComments(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size();) {
    if (text[i] == '"') {
      i = copyString(text, i, out);
    } else if (text.substr(i, 2) == "//") {
      i = std::min(text.find('\n', i), text.size());
    } else if (text.substr(i, 2) == "/*") {
      const size_t end = text.find("*/", i + 2);
      i = end == std::string_view::npos ? text.size() : end + 2;
    } else {
      out += text[i++];
    }
  }
  return out;
}

std::string withoutTrailingCommas(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size();) {
    if (text[i] == '"') {
      i = copyString(text, i, out);
      continue;
    }
    if (text[i] == ',') {
      const size_t next = text.find_first_not_of(" \t\r\n", i + 1);
      if (next != std::string_view::npos && (text[next] == '}' || text[next] == ']')) {
        ++i;
        continue;
      }
    }
    out += text[i++];
  }
  return out;
}

std::optional<nlohmann::json> parseJSONC(std::string_view text) {
  const std::string clean = withoutTrailingCommas(withoutComments(repairedUtf8(text)));
  auto json = nlohmann::json::parse(clean, nullptr, false);
  if (!json.is_object()) return std::nullopt;
  return json;
}

std::string tomlString(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
      case '\t': out += "\\t"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      default:
        if (byte < 32 || byte == 127) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04X", byte);
          out += escaped;
        } else {
          out += c;
        }
    }
  }
  return out + "\"";
}

std::optional<std::string> tableName(std::string_view line) {
  std::string_view text = trimmed(line, kBlanks);
  if (!text.starts_with('[')) return std::nullopt;
  const bool array = text.starts_with("[[");
  text.remove_prefix(array ? 2 : 1);
  const size_t close = text.find(']');
  if (close == std::string_view::npos) return std::nullopt;
  return std::string(trimmed(text.substr(0, close), kBlanks));
}

bool tomlHasServer(std::string_view text) {
  for (const auto line : splitOn(text, '\n')) {
    if (trimmed(line, kBlanks) == kBlockStart || tableName(line) == "mcp_servers.tallyfin") return true;
  }
  return false;
}

std::string removingTOMLSection(std::string_view text) {
  std::vector<std::string_view> kept;
  std::string_view skippingUntil;  // the end marker of a block being dropped; empty when none
  bool inOurTable = false;
  for (const auto line : splitOn(text, '\n')) {
    const std::string_view bare = trimmed(line, kBlanks);
    if (!skippingUntil.empty()) {
      if (bare == skippingUntil) skippingUntil = {};
      continue;
    }
    if (bare == kBlockStart) {
      skippingUntil = kBlockEnd;
      continue;
    }
    if (bare == "# >>> moss-ledger" || bare.starts_with("# >>> moss-ledger ")) {
      skippingUntil = "# <<< moss-ledger";
      continue;
    }
    if (const auto name = tableName(line)) inOurTable = isOurTable(*name);
    if (!inOurTable) kept.push_back(line);
  }
  std::string out;
  for (size_t i = 0; i < kept.size(); ++i) {
    if (i) out += '\n';
    out += kept[i];
  }
  return out;
}

}  // namespace tallyfin::ConfigText
