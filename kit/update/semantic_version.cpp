#include "kit/update/semantic_version.h"

#include <algorithm>

#include "kit/base/text.h"

namespace tallyfin {
namespace {

bool isDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isIdentifier(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-';
  });
}

// Numbers without a leading zero, so that one value has one spelling.
bool isNumber(std::string_view text) {
  return isDigits(text) && (text.size() == 1 || text[0] != '0');
}

// Digits of any length compared as the numbers they are.
std::strong_ordering compareNumbers(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return a.size() <=> b.size();
  return a.compare(b) <=> 0;
}

// Numeric identifiers come before alphanumeric ones; those compare as ASCII.
std::strong_ordering compareIdentifiers(std::string_view a, std::string_view b) {
  const bool aNumber = isDigits(a), bNumber = isDigits(b);
  if (aNumber && bNumber) return compareNumbers(a, b);
  if (aNumber != bNumber)
    return aNumber ? std::strong_ordering::less : std::strong_ordering::greater;
  return a.compare(b) <=> 0;
}

std::vector<std::string> pieces(std::string_view text) {
  std::vector<std::string> list;
  for (const auto piece : splitOn(text, '.')) list.emplace_back(piece);
  return list;
}

}  // namespace

std::optional<SemanticVersion> SemanticVersion::parse(std::string_view text) {
  std::string_view rest = text;
  if (const size_t plus = rest.find('+'); plus != std::string_view::npos) {
    const auto build = pieces(rest.substr(plus + 1));
    if (!std::all_of(build.begin(), build.end(), isIdentifier)) return std::nullopt;
    rest = rest.substr(0, plus);
  }
  std::vector<std::string> preRelease;
  if (const size_t dash = rest.find('-'); dash != std::string_view::npos) {
    preRelease = pieces(rest.substr(dash + 1));
    for (const auto& identifier : preRelease) {
      if (!isIdentifier(identifier) || (isDigits(identifier) && !isNumber(identifier)))
        return std::nullopt;
    }
    rest = rest.substr(0, dash);
  }
  auto release = pieces(rest);
  if (release.size() != 3 || !std::all_of(release.begin(), release.end(), isNumber))
    return std::nullopt;
  SemanticVersion version;
  version.text_ = std::string(text);
  version.release_ = std::move(release);
  version.preRelease_ = std::move(preRelease);
  return version;
}

std::strong_ordering SemanticVersion::operator<=>(const SemanticVersion& other) const {
  for (size_t i = 0; i < release_.size(); ++i) {
    if (const auto order = compareNumbers(release_[i], other.release_[i]); order != 0) return order;
  }
  // A release ranks above every pre-release of it.
  if (preRelease_.empty() || other.preRelease_.empty()) {
    return preRelease_.empty() <=> other.preRelease_.empty();
  }
  const size_t common = std::min(preRelease_.size(), other.preRelease_.size());
  for (size_t i = 0; i < common; ++i) {
    if (const auto order = compareIdentifiers(preRelease_[i], other.preRelease_[i]); order != 0)
      return order;
  }
  return preRelease_.size() <=> other.preRelease_.size();
}

}  // namespace tallyfin
