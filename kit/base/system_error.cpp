#include "kit/base/system_error.h"

#include <cstring>

namespace tallyfin {

std::string errnoText(int code) {
  char buffer[256];
  // The GNU strerror_r returns the text, which may or may not sit in `buffer`.
  return strerror_r(code, buffer, sizeof buffer);
}

}  // namespace tallyfin
