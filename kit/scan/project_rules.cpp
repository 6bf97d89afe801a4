#include "kit/scan/project_rules.h"

#include <array>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

namespace tallyfin {
namespace {

constexpr std::array<std::string_view, 13> kCaseNames = {
    "nodeModules", "jsBuild",      "xcodeDerivedData", "swiftpm",  "pods",
    "rust",        "maven",        "gradleBuild",      "flutterBuild", "gradleCache",
    "dartTool",    "pyCache",      "venv"};

struct MarkerName {
  std::string_view name;
  SiblingMarkers::Marker marker;
};

constexpr std::array<MarkerName, 11> kMarkerNames = {{
    {"package.json", SiblingMarkers::packageJson},
    {"Package.swift", SiblingMarkers::packageSwift},
    {"Podfile", SiblingMarkers::podfile},
    {"Cargo.toml", SiblingMarkers::cargoToml},
    {"pom.xml", SiblingMarkers::pomXml},
    {"build.gradle", SiblingMarkers::gradleBuild},
    {"build.gradle.kts", SiblingMarkers::gradleBuildKts},
    {"settings.gradle", SiblingMarkers::gradleSettings},
    {"settings.gradle.kts", SiblingMarkers::gradleSettingsKts},
    {"pubspec.yaml", SiblingMarkers::pubspecYaml},
    {"pyvenv.cfg", SiblingMarkers::pyvenvCfg},
}};

constexpr uint16_t kGradleMarkers = SiblingMarkers::gradleBuild | SiblingMarkers::gradleBuildKts |
                                    SiblingMarkers::gradleSettings |
                                    SiblingMarkers::gradleSettingsKts;

constexpr std::array<std::string_view, 9> kJsBuild = {
    ".next", ".nuxt", ".turbo", ".parcel-cache", ".svelte-kit", ".expo", ".angular", ".vercel",
    ".output"};
constexpr std::array<std::string_view, 4> kPyCaches = {".mypy_cache", ".pytest_cache",
                                                       ".ruff_cache", ".tox"};
constexpr std::array<std::string_view, 8> kOtherSensitive = {
    "node_modules", "DerivedData", ".build", "Pods", "target", "build", ".gradle", ".dart_tool"};

template <size_t N>
bool among(const std::array<std::string_view, N>& names, std::string_view name) {
  for (auto candidate : names) {
    if (candidate == name) return true;
  }
  return false;
}

// The part of `path` after home + "/", or none when the path is not below home.
std::optional<std::string_view> underHome(std::string_view path, std::string_view home) {
  if (path.size() <= home.size() + 1 || !path.starts_with(home) || path[home.size()] != '/') {
    return std::nullopt;
  }
  return path.substr(home.size() + 1);
}

bool nested(std::string_view path) { return path.find("/node_modules/") != std::string_view::npos; }

}  // namespace

std::string_view caseName(ProjectJunkKind kind) { return kCaseNames[static_cast<size_t>(kind)]; }

std::optional<ProjectJunkKind> projectJunkKindNamed(std::string_view name) {
  for (size_t i = 0; i < kCaseNames.size(); ++i) {
    if (kCaseNames[i] == name) return static_cast<ProjectJunkKind>(i);
  }
  return std::nullopt;
}

void to_json(nlohmann::json& json, const ProjectJunk& junk) {
  json = nlohmann::json{{"path", junk.path},
                        {"size", junk.size},
                        {"projectModified", junk.projectModified},
                        {"kind", caseName(junk.kind)}};
}

void from_json(const nlohmann::json& json, ProjectJunk& junk) {
  const auto kind = projectJunkKindNamed(json.at("kind").get<std::string>());
  if (!kind) throw std::invalid_argument("unknown project junk kind");
  junk.path = json.at("path").get<std::string>();
  junk.size = json.at("size").get<int64_t>();
  junk.projectModified = json.at("projectModified").get<int64_t>();
  junk.kind = *kind;
}

SiblingMarkers::SiblingMarkers(std::initializer_list<std::string_view> names) {
  for (auto name : names) note(name);
}

void SiblingMarkers::note(std::string_view name) {
  // Most names are far from every marker; the size test keeps this cheap per entry.
  if (name.size() < 7 || name.size() > 19) return;
  for (const auto& marker : kMarkerNames) {
    if (marker.name.size() == name.size() && marker.name == name) {
      bits_ |= marker.marker;
      return;
    }
  }
}

namespace ProjectRules {

bool isSensitiveName(std::string_view name) {
  return among(kJsBuild, name) || among(kPyCaches, name) || among(kOtherSensitive, name);
}

bool inToolFolder(std::string_view path, std::string_view home) {
  const auto rest = underHome(path, home);
  if (!rest) return true;
  return rest->starts_with(".") || rest->starts_with("Library/");
}

std::optional<ProjectJunkKind> kind(std::string_view name, const SiblingMarkers& siblings,
                                    std::string_view path, bool isVenv, std::string_view home) {
  const auto inProject = [&] { return !nested(path) && !inToolFolder(path, home); };
  if (name == "node_modules") {
    if (siblings.has(SiblingMarkers::packageJson) && inProject()) return ProjectJunkKind::nodeModules;
  } else if (among(kJsBuild, name)) {
    if (siblings.has(SiblingMarkers::packageJson) && inProject()) return ProjectJunkKind::jsBuild;
  } else if (name == "DerivedData") {
    const std::string xcodeOwn = std::string(home) + "/Library/Developer";
    if (!path.starts_with(xcodeOwn)) return ProjectJunkKind::xcodeDerivedData;
  } else if (name == ".build") {
    if (siblings.has(SiblingMarkers::packageSwift)) return ProjectJunkKind::swiftpm;
  } else if (name == "Pods") {
    if (siblings.has(SiblingMarkers::podfile)) return ProjectJunkKind::pods;
  } else if (name == "target") {
    if (siblings.has(SiblingMarkers::cargoToml)) return ProjectJunkKind::rust;
    if (siblings.has(SiblingMarkers::pomXml)) return ProjectJunkKind::maven;
  } else if (name == "build") {
    if (siblings.has(kGradleMarkers)) return ProjectJunkKind::gradleBuild;
    if (siblings.has(SiblingMarkers::pubspecYaml)) return ProjectJunkKind::flutterBuild;
  } else if (name == ".gradle") {
    if (siblings.has(kGradleMarkers)) return ProjectJunkKind::gradleCache;
  } else if (name == ".dart_tool") {
    if (siblings.has(SiblingMarkers::pubspecYaml)) return ProjectJunkKind::dartTool;
  } else if (among(kPyCaches, name)) {
    return ProjectJunkKind::pyCache;
  }
  const auto rest = underHome(path, home);
  if (isVenv && rest && !rest->starts_with(".") && !rest->starts_with("Library/") && !nested(path)) {
    return ProjectJunkKind::venv;
  }
  return std::nullopt;
}

}  // namespace ProjectRules
}  // namespace tallyfin
