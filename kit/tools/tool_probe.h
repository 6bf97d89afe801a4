#pragma once

// Asks the developer tools that keep their own storage what they hold: the
// Xcode simulators (through simctl, where Xcode exists) and Ollama's models
// (read from its store, the tool is never run).

#include <string>
#include <string_view>
#include <vector>

#include "kit/cleanup/tool_snapshot.h"

namespace tallyfin::ToolProbe {

inline constexpr double kSimctlTimeoutSeconds = 30;
inline constexpr const char* kXcrun = "/usr/bin/xcrun";

// The output of `simctl list devices -j`: every device under its runtime.
std::vector<SimulatorDevice> simulatorDevices(std::string_view json);
// The output of `simctl runtime list -j`.
std::vector<SimulatorRuntime> simulatorRuntimes(std::string_view json);
std::vector<OllamaModel> ollamaModels(const std::string& home);

// Everything at once; a tool that is missing, fails or hangs adds nothing.
ToolSnapshot collect(const std::string& home, const std::string& xcrun = kXcrun,
                     double timeoutSeconds = kSimctlTimeoutSeconds);

}  // namespace tallyfin::ToolProbe
