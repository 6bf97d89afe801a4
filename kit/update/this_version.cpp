#include "kit/update/this_version.h"

namespace tallyfin {

// Both come from the build files, so the version has one source.
std::string_view thisVersion() { return TALLYFIN_VERSION; }

std::string_view releaseFeedUrl() { return TALLYFIN_RELEASE_FEED_URL; }

}  // namespace tallyfin
