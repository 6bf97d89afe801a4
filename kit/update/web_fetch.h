#pragma once

// One download over HTTPS (or http from this computer) with libcurl: a time
// limit, a size cap, and redirects followed only to https addresses.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "kit/base/error.h"

namespace tallyfin {

struct FetchLimits {
  int64_t maxBytes = 0;
  // Connecting may take this long, and so may any pause in the transfer.
  double seconds = 30;
  // Whether the whole transfer must also end within `seconds` (small documents),
  // or may run as long as data keeps coming (packages).
  bool wholeTransfer = true;
};

struct FetchError {
  enum class Reason {
    refused,
    unreachable,
    untrusted,
    timedOut,
    tooLarge,
    incomplete,
    httpStatus,
    redirect,
    cancelled,
    other
  };
  Reason reason = Reason::other;
  std::string message;
};

// The body of `url`, named `what` ("the release feed") in messages. Nothing is
// connected to when the address is refused. `keepGoing`, when given, is told the
// bytes received so far as they arrive (and about once a second while none do);
// false stops the transfer, as Cancel does.
Expected<std::string, FetchError> fetchText(std::string_view url, const FetchLimits& limits,
                                            std::string_view what,
                                            const std::function<bool(int64_t received)>& keepGoing = {});

}  // namespace tallyfin
