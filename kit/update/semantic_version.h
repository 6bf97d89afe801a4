#pragma once

// Release numbers as MAJOR.MINOR.PATCH with an optional pre-release part
// ("1.4.0-rc.2") and build part ("+20250601"), ordered the way semantic
// versioning orders them: a pre-release comes before its release, numeric parts
// compare as numbers (however long), the build part is ignored.

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfin {

class SemanticVersion {
 public:
  // None for anything that is not a well-formed version: a missing part, a leading
  // zero, an empty identifier, a "v" in front, a character outside [0-9A-Za-z.-].
  static std::optional<SemanticVersion> parse(std::string_view text);

  // As given, build part included.
  const std::string& text() const { return text_; }

  std::strong_ordering operator<=>(const SemanticVersion& other) const;
  bool operator==(const SemanticVersion& other) const { return (*this <=> other) == 0; }

 private:
  std::string text_;
  std::vector<std::string> release_;     // three numbers, as digits
  std::vector<std::string> preRelease_;  // empty for a release
};

}  // namespace tallyfin
