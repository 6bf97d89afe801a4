#pragma once

#include <string_view>

namespace tallyfin {

// The version of this build, as the project's build files name it ("0.1.0").
std::string_view thisVersion();

// The release feed this build checks; empty when the build names none.
std::string_view releaseFeedUrl();

}  // namespace tallyfin
