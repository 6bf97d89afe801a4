#include "kit/base/pattern.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstdio>
#include <cstdlib>

namespace tallyfin {

struct Pattern::Compiled {
  pcre2_code* code = nullptr;
  ~Compiled() { pcre2_code_free(code); }
};

Pattern::Pattern(std::string_view expression) : compiled_(std::make_unique<Compiled>()) {
  int error = 0;
  PCRE2_SIZE offset = 0;
  compiled_->code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression.data()), expression.size(),
                                  0, &error, &offset, nullptr);
  if (!compiled_->code) {
    std::fprintf(stderr, "tallyfin: bad pattern %.*s at %zu\n", static_cast<int>(expression.size()),
                 expression.data(), static_cast<size_t>(offset));
    std::abort();
  }
}

Pattern::~Pattern() = default;

std::optional<std::vector<std::string>> Pattern::firstMatch(std::string_view subject) const {
  // Match data per call: the compiled code is shared, the scratch space is not.
  const std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> data(
      pcre2_match_data_create_from_pattern(compiled_->code, nullptr), &pcre2_match_data_free);
  const int found = pcre2_match(compiled_->code, reinterpret_cast<PCRE2_SPTR>(subject.data()),
                                subject.size(), 0, 0, data.get(), nullptr);
  if (found <= 0) return std::nullopt;
  const PCRE2_SIZE* offsets = pcre2_get_ovector_pointer(data.get());
  std::vector<std::string> groups;
  for (int i = 0; i < found; ++i) {
    const PCRE2_SIZE start = offsets[2 * i], end = offsets[2 * i + 1];
    groups.emplace_back(start == PCRE2_UNSET ? std::string() : std::string(subject.substr(start, end - start)));
  }
  return groups;
}

}  // namespace tallyfin
