#pragma once

// What developer tools that manage their own storage report about it. The tool
// probes fill it; the cleanup rules turn it into suggestions.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfin {

struct SimulatorDevice {
  std::string udid;
  std::string name;
  std::string runtime;
  bool isAvailable = false;
  std::optional<int64_t> lastBooted;
  bool operator==(const SimulatorDevice&) const = default;
};

struct SimulatorRuntime {
  std::string identifier;  // the installed image's own, which `simctl runtime delete` takes
  std::string name;
  std::string path;
  int64_t size = 0;
  std::optional<int64_t> lastUsed;
  std::string runtimeIdentifier;  // the kind of runtime, as its devices name it
  bool operator==(const SimulatorRuntime&) const = default;
};

struct OllamaModel {
  std::string name;  // "llama3:8b", or "user/model:tag" outside the default namespace
  int64_t size = 0;
  int64_t modified = 0;
  bool operator==(const OllamaModel&) const = default;
};

// Said when a tool, or the probes as a whole, had to be given up on.
inline constexpr std::string_view kToolsTooSlowMessage = "developer tools didn't answer in time";

struct ToolSnapshot {
  std::vector<SimulatorDevice> devices;
  std::vector<SimulatorRuntime> runtimes;
  std::vector<OllamaModel> ollama;
  std::optional<std::string> problem;  // a tool that had to be given up on
};

}  // namespace tallyfin
