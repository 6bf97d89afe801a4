#pragma once

#include <cstdint>
#include <string_view>

namespace tallyfin {

// A size as tools print it for people, in decimal units: "2.5GB (45%)", "0B",
// "1.2 MB", or with glib's no-break space, "1.2\u00a0MB". Anything after the unit
// is ignored; text that is not such a size is 0.
int64_t decimalBytes(std::string_view text);

}  // namespace tallyfin
