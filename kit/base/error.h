#pragma once

#include <string>

#include "kit/base/expected.h"

namespace tallyfin {

// An expected failure: the sentence a person reads, and the errno behind it if any.
struct Error {
  std::string message;
  int code = 0;
};

// The value of an operation that only succeeds or fails.
struct Done {};
using Status = Expected<Done, Error>;

inline Status ok() { return Done{}; }

}  // namespace tallyfin
