#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tallyfin::testing {

// Writes `bundle`/Contents/Info.plist as an XML property list of string keys.
void writeInfoPlist(const std::string& bundle, const std::vector<std::pair<std::string, std::string>>& keys);

}  // namespace tallyfin::testing
