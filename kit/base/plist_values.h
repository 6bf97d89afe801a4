#pragma once

// Small readers over libplist nodes: typed values that are none when the node
// is missing or of another type, and ownership of a parsed tree.

#include <plist/plist.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tallyfin::plist_values {

using Owned = std::unique_ptr<void, decltype(&plist_free)>;

inline Owned owned(plist_t node) { return Owned(node, &plist_free); }

// Parses XML or binary property-list bytes; a null tree when they are not one.
Owned parse(const std::string& bytes);

std::optional<uint64_t> unsignedValue(plist_t node);
std::optional<std::string> stringValue(plist_t node);

}  // namespace tallyfin::plist_values
