#include "kit/tools/tool_probe.h"

#include <unistd.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "kit/base/saturating.h"
#include "kit/cleanup/cleanup_rules.h"
#include "kit/store/format.h"
#include "kit/tools/ai_models.h"
#include "kit/platform/probe_environment.h"
#include "kit/platform/spawned.h"

namespace tallyfin::ToolProbe {
namespace {

std::string text(const nlohmann::json& object, const char* key) {
  return object.contains(key) && object[key].is_string() ? object[key].get<std::string>() : std::string();
}

std::optional<int64_t> date(const nlohmann::json& object, const char* key) {
  const std::string value = text(object, key);
  return value.empty() ? std::nullopt : Format::parseIsoDate(value);
}

}  // namespace

std::vector<SimulatorDevice> simulatorDevices(std::string_view json) {
  const auto parsed = nlohmann::json::parse(json, nullptr, false);
  std::vector<SimulatorDevice> devices;
  if (!parsed.is_object() || !parsed.contains("devices") || !parsed["devices"].is_object()) return devices;
  for (const auto& [runtime, list] : parsed["devices"].items()) {
    if (!list.is_array()) continue;
    for (const auto& device : list) {
      if (!device.is_object() || text(device, "udid").empty()) continue;
      const bool available = device.contains("isAvailable") && device["isAvailable"].is_boolean() &&
                             device["isAvailable"].get<bool>();
      devices.push_back({text(device, "udid"), text(device, "name"), runtime, available,
                         date(device, "lastBootedAt")});
    }
  }
  return devices;
}

std::vector<SimulatorRuntime> simulatorRuntimes(std::string_view json) {
  const auto parsed = nlohmann::json::parse(json, nullptr, false);
  std::vector<SimulatorRuntime> runtimes;
  if (!parsed.is_object()) return runtimes;
  for (const auto& [key, runtime] : parsed.items()) {
    if (!runtime.is_object()) continue;
    const std::string identifier = text(runtime, "identifier").empty() ? key : text(runtime, "identifier");
    std::string name = runtimeDisplayName(text(runtime, "runtimeIdentifier"));
    const std::string version = text(runtime, "version");
    // The identifier names the major and minor version; the build's own number is more exact.
    if (!version.empty()) name = name.substr(0, name.find(' ')) + " " + version;
    const int64_t size = runtime.contains("sizeBytes") && runtime["sizeBytes"].is_number_integer()
                             ? std::max<int64_t>(runtime["sizeBytes"].get<int64_t>(), 0)
                             : 0;
    runtimes.push_back({identifier, name, text(runtime, "path"), size, date(runtime, "lastUsedAt"),
                        text(runtime, "runtimeIdentifier")});
  }
  std::sort(runtimes.begin(), runtimes.end(), [](const auto& a, const auto& b) { return a.size > b.size; });
  return runtimes;
}

std::vector<OllamaModel> ollamaModels(const std::string& home) {
  std::vector<OllamaModel> models;
  for (const auto& manifest : AIModelScanner::ollamaManifests(home)) {
    int64_t size = 0;
    for (const auto& layer : manifest.layers) size = saturatingAdd(size, layer.size);
    models.push_back({manifest.name, size, manifest.modified});
  }
  return models;
}

ToolSnapshot collect(const std::string& home, const std::string& xcrun, double timeoutSeconds) {
  ToolSnapshot snapshot;
  snapshot.ollama = ollamaModels(home);
  if (::access(xcrun.c_str(), X_OK) != 0) return snapshot;
  const auto environment = probeEnvironment(home);
  const auto devices = runTool(xcrun, {"simctl", "list", "devices", "-j"}, environment, timeoutSeconds);
  const auto runtimes = runTool(xcrun, {"simctl", "runtime", "list", "-j"}, environment, timeoutSeconds);
  if (devices.timedOut || runtimes.timedOut) snapshot.problem = std::string(kToolsTooSlowMessage);
  if (devices.succeeded()) snapshot.devices = simulatorDevices(devices.output);
  if (runtimes.succeeded()) snapshot.runtimes = simulatorRuntimes(runtimes.output);
  return snapshot;
}

}  // namespace tallyfin::ToolProbe
