#pragma once

// The building blocks of the last-moment check before anything moves: folders
// that are never moved, trees of personal data, credential file names, and the
// on-disk spelling of a path.

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfin::TrashRules {

// Lowercased folders that are never moved themselves (their contents may be).
std::set<std::string, std::less<>> protectedPaths(const std::string& home);

// Lowercased absolute roots of personal data: the 57 home-relative trees, then
// this system's Trash and data folders. App leftovers may take ~/Library/Preferences.
std::vector<std::string> sensitiveTrees(const std::string& home, bool forAppLeftovers);

// Whether a file name looks like a key, token or password store.
bool isCredentialFile(std::string_view name);

// The path as the file system spells it, with the parent folder resolved; none
// when the parent cannot be resolved or the item is not there.
std::optional<std::string> canonical(const std::string& path);

}  // namespace tallyfin::TrashRules
