// Arbitrary settings text through the JSON-with-comments and TOML editors: no
// crash, and the editors' promises hold.

#include <cstddef>
#include <cstdint>
#include <string>

#include "kit/agents/config_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tallyfin::ConfigText;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string clean = withoutComments(text);
  if (withoutComments(clean).size() > clean.size()) __builtin_trap();
  (void)withoutTrailingCommas(clean);
  (void)parseJSONC(text);
  // Removing the block leaves no block behind.
  const std::string removed = removingTOMLSection(text);
  if (tomlHasServer(removed)) __builtin_trap();
  const std::string quoted = tomlString(text);
  if (quoted.size() < 2 || quoted.front() != '"' || quoted.back() != '"') __builtin_trap();
  return 0;
}
