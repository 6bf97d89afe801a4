#pragma once

// The platform's own Trash. The trash service does every check; this only moves.

#include <memory>
#include <optional>
#include <string>

#include "kit/base/error.h"

namespace tallyfin {

class Trasher {
 public:
  virtual ~Trasher() = default;

  // Moves the item into the Trash; where it landed, or none when the platform did not say.
  virtual Expected<std::optional<std::string>, Error> trash(const std::string& path) = 0;

  // Moves an item back from the Trash; never replaces anything at `to`.
  virtual Status restore(const std::string& from, const std::string& to) = 0;

  // Why this Trash could not take the item, known before anything moves (a Trash
  // that is not a real folder of the user's, a name too long for its records).
  virtual std::optional<std::string> refusal(const std::string&) const { return std::nullopt; }
};

// The platform's trasher for this user's home folder.
std::shared_ptr<Trasher> systemTrasher(const std::string& home);

}  // namespace tallyfin
