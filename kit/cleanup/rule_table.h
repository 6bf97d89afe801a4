#pragma once

#include <string>
#include <vector>

#include "kit/cleanup/cleanup_rules.h"

namespace tallyfin {

// The 46 fixed rules, in order.
std::vector<Rule> fixedRules(const std::string& home);
// One rule per editor and cache folder: 6 editors × 6 folders.
std::vector<Rule> editorRules(const std::string& home);
// Places a Linux developer fills, none under the folders of personal data.
std::vector<Rule> linuxRules(const std::string& home);

}  // namespace tallyfin
