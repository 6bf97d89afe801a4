#pragma once

// Recognises rebuildable folders inside software projects by their name and the
// marker files beside them; never reads file contents.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace tallyfin {

enum class ProjectJunkKind : uint8_t {
  nodeModules,
  jsBuild,
  xcodeDerivedData,
  swiftpm,
  pods,
  rust,
  maven,
  gradleBuild,
  flutterBuild,
  gradleCache,
  dartTool,
  pyCache,
  venv,
};

std::string_view caseName(ProjectJunkKind kind);
std::optional<ProjectJunkKind> projectJunkKindNamed(std::string_view name);

struct ProjectJunk {
  std::string path;  // display path of the junk folder
  int64_t size = 0;
  int64_t projectModified = 0;  // the folder holding it, seconds since 1970
  ProjectJunkKind kind = ProjectJunkKind::nodeModules;
  bool operator==(const ProjectJunk&) const = default;
};

void to_json(nlohmann::json& json, const ProjectJunk& junk);
void from_json(const nlohmann::json& json, ProjectJunk& junk);

// Which of the marker names the rules ask about a folder holds. The scanner notes
// every entry name while listing, so no set of names is built per folder.
class SiblingMarkers {
 public:
  enum Marker : uint16_t {
    packageJson = 1 << 0,
    packageSwift = 1 << 1,
    podfile = 1 << 2,
    cargoToml = 1 << 3,
    pomXml = 1 << 4,
    gradleBuild = 1 << 5,
    gradleBuildKts = 1 << 6,
    gradleSettings = 1 << 7,
    gradleSettingsKts = 1 << 8,
    pubspecYaml = 1 << 9,
    pyvenvCfg = 1 << 10,
  };

  SiblingMarkers() = default;
  SiblingMarkers(std::initializer_list<std::string_view> names);

  void note(std::string_view name);
  bool has(uint16_t markers) const { return (bits_ & markers) != 0; }

 private:
  uint16_t bits_ = 0;
};

namespace ProjectRules {

// The 21 folder names that can be project junk by their name alone.
bool isSensitiveName(std::string_view name);

// The kind of junk a folder is, from its name, the markers beside it, its display
// path, whether it holds "pyvenv.cfg", and the home folder.
std::optional<ProjectJunkKind> kind(std::string_view name, const SiblingMarkers& siblings,
                                    std::string_view path, bool isVenv, std::string_view home);

// Outside the home folder, or in a hidden folder or the Library of it: never a project.
bool inToolFolder(std::string_view path, std::string_view home);

}  // namespace ProjectRules
}  // namespace tallyfin
