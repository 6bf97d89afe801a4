#include "tests/support/app_bundle.h"

#include <fstream>

#include "tests/support/temp_folder.h"

namespace tallyfin::testing {

void writeInfoPlist(const std::string& bundle, const std::vector<std::pair<std::string, std::string>>& keys) {
  makeFolder(bundle + "/Contents");
  std::ofstream out(bundle + "/Contents/Info.plist");
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>";
  for (const auto& [key, value] : keys) out << "<key>" << key << "</key><string>" << value << "</string>";
  out << "</dict></plist>\n";
}

}  // namespace tallyfin::testing
