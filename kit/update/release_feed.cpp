#include "kit/update/release_feed.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "kit/update/release_signature.h"

namespace tallyfin {
namespace {

using nlohmann::json;

Unexpected<Error> malformed(std::string_view source, std::string_view field) {
  return fail(Error{
      "The release feed at " + std::string(source) + " is signed, but its " + std::string(field) +
      " is missing or malformed — nothing was offered; tell the Tallyfin developers."});
}

bool isLowerHex(const std::string& text, size_t length) {
  return text.size() == length && std::all_of(text.begin(), text.end(), [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
         });
}

}  // namespace

Expected<ReleaseFeed, Error> ReleaseFeed::open(std::string_view bytes, std::string_view signature,
                                               const PublicKey& key, std::string_view source) {
  if (signature.size() != kSignatureBytes) {
    return fail(
        Error{"The signature of the release feed at " + std::string(source) + " is " +
              std::to_string(signature.size()) +
              " bytes instead of 64 — the release cannot be trusted, so nothing was offered."});
  }
  if (!signatureHolds(bytes, signature, key)) {
    return fail(Error{
        "The release feed at " + std::string(source) +
        " is not signed with Tallyfin's release key — it was changed or cut short on the way, so "
        "nothing was offered."});
  }
  const json document = json::parse(bytes, nullptr, false);
  if (!document.is_object()) return malformed(source, "JSON");
  const auto text = [&](const char* name) -> const std::string* {
    const auto found = document.find(name);
    return found != document.end() && found->is_string() ? found->get_ptr<const std::string*>()
                                                         : nullptr;
  };
  ReleaseFeed feed;
  const std::string* version = text("version");
  const auto parsed = version ? SemanticVersion::parse(*version) : std::nullopt;
  if (!parsed) return malformed(source, "version");
  feed.version = *parsed;
  for (const auto& [name, field] : {std::pair{"date", &feed.date}, std::pair{"notes", &feed.notes},
                                    std::pair{"package_url", &feed.packageUrl},
                                    std::pair{"package_sha256", &feed.packageSha256}}) {
    const std::string* value = text(name);
    if (!value || value->empty()) return malformed(source, name);
    *field = *value;
  }
  if (!isLowerHex(feed.packageSha256, 64)) return malformed(source, "package_sha256");
  const auto size = document.find("package_size");
  if (size == document.end() || !size->is_number_integer())
    return malformed(source, "package_size");
  feed.packageSize = size->get<int64_t>();
  if (feed.packageSize <= 0 || feed.packageSize > kLargestPackage)
    return malformed(source, "package_size");
  return feed;
}

}  // namespace tallyfin
