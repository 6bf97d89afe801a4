#pragma once

// A compiled regular expression (PCRE2, so look-behind works) that several
// threads may match at once.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfin {

class Pattern {
 public:
  // The expression must be valid; a broken one is a programming error and aborts.
  explicit Pattern(std::string_view expression);
  ~Pattern();
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  // The whole match followed by each group (empty for a group that took no part),
  // for the first match in `subject`; none when nothing matches.
  std::optional<std::vector<std::string>> firstMatch(std::string_view subject) const;

 private:
  struct Compiled;
  std::unique_ptr<Compiled> compiled_;
};

}  // namespace tallyfin
