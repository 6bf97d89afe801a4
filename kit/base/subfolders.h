#pragma once

#include <string>
#include <vector>

namespace tallyfin {

// The folders directly inside `folder` (links to folders left out), sorted by
// path; none when it cannot be read.
std::vector<std::string> sortedSubfolders(const std::string& folder);

// The names of everything directly inside `folder`, sorted; none when it cannot be read.
std::vector<std::string> sortedEntryNames(const std::string& folder);

}  // namespace tallyfin
