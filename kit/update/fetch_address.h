#pragma once

// Which web addresses updates may come from: https anywhere, plain http only
// from this computer itself (127.0.0.0/8, ::1, localhost), where mirrors under
// test and local servers live. The address is read with the same parser that
// later connects, so what is checked is what is reached.

#include <string>
#include <string_view>

#include "kit/base/error.h"

namespace tallyfin {

struct FetchAddress {
  std::string url;
  bool loopback = false;  // the host is this computer

  // The address when updates may be fetched from it; the reason otherwise.
  static Expected<FetchAddress, Error> check(std::string_view url);
};

}  // namespace tallyfin
