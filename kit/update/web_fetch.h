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
  enum class Reason { refused, unreachable, timedOut, tooLarge, incomplete, httpStatus, redirect, stopped, other };
  Reason reason = Reason::other;
  std::string message;
};

// Receives each piece of the body as it arrives; false stops the transfer.
using FetchSink = std::function<bool(std::string_view)>;

// Fetches `url`, naming it `what` ("the release feed") in messages. Nothing is
// connected to when the address is refused.
Expected<int64_t, FetchError> fetchInto(std::string_view url, const FetchLimits& limits, std::string_view what,
                                        const FetchSink& sink);

// The whole body in memory.
Expected<std::string, FetchError> fetchText(std::string_view url, const FetchLimits& limits, std::string_view what);

}  // namespace tallyfin
