#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tallyfin {

// The only environment a probed tool sees: a fixed PATH (led by `toolFolder`
// when given), the user's HOME and a UTF-8 locale, so nothing of the caller's
// shell can change what runs or how its output reads.
std::vector<std::string> probeEnvironment(const std::string& home, const std::string& toolFolder = {});

// The first executable of `places`; tools are looked for only where they install.
std::optional<std::string> firstExecutable(const std::vector<std::string>& places);

}  // namespace tallyfin
