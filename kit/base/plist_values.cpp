#include "kit/base/plist_values.h"

#include <cstdlib>

namespace tallyfin::plist_values {

Owned parse(const std::string& bytes) {
  plist_t root = nullptr;
  if (bytes.size() <= UINT32_MAX) plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
  return owned(root);
}

std::optional<uint64_t> unsignedValue(plist_t node) {
  if (!node || plist_get_node_type(node) != PLIST_UINT) return std::nullopt;
  uint64_t value = 0;
  plist_get_uint_val(node, &value);
  return value;
}

std::optional<std::string> stringValue(plist_t node) {
  if (!node || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  char* text = nullptr;
  plist_get_string_val(node, &text);
  if (!text) return std::nullopt;
  std::string value(text);
  std::free(text);
  return value;
}

}  // namespace tallyfin::plist_values
