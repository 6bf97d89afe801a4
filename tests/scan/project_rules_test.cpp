#include "kit/scan/project_rules.h"

#include <gtest/gtest.h>

namespace tallyfin {
namespace {

constexpr std::string_view kHome = "/Users/ann";

struct Case {
  std::string_view name;
  SiblingMarkers siblings;
  std::string_view path;
  bool isVenv;
  std::optional<ProjectJunkKind> expected;
};

TEST(ProjectRules, ClassifiesFoldersByNameMarkersAndPlace) {
  using K = ProjectJunkKind;
  const Case cases[] = {
      {"node_modules", {"package.json"}, "/Users/ann/code/app/node_modules", false, K::nodeModules},
      {"node_modules", {"package.json"}, "/Users/ann/code/app/node_modules/x/node_modules", false,
       std::nullopt},
      {"node_modules", {"package.json"}, "/Users/ann/.npm/x/node_modules", false, std::nullopt},
      {"node_modules", {"package.json"}, "/Users/ann/Library/x/node_modules", false, std::nullopt},
      {"node_modules", {"package.json"}, "/opt/app/node_modules", false, std::nullopt},
      {"node_modules", {"README.md"}, "/Users/ann/code/app/node_modules", false, std::nullopt},
      {".next", {"package.json"}, "/Users/ann/code/app/.next", false, K::jsBuild},
      {".svelte-kit", {}, "/Users/ann/code/app/.svelte-kit", false, std::nullopt},
      {"DerivedData", {}, "/Users/ann/Library/Developer/Xcode/DerivedData", false, std::nullopt},
      {"DerivedData", {}, "/Users/ann/code/app/DerivedData", false, K::xcodeDerivedData},
      {".build", {"Package.swift"}, "/Users/ann/code/pkg/.build", false, K::swiftpm},
      {"Pods", {"Podfile"}, "/Users/ann/code/ios/Pods", false, K::pods},
      {"target", {"Cargo.toml", "pom.xml"}, "/Users/ann/code/rs/target", false, K::rust},
      {"target", {"pom.xml"}, "/Users/ann/code/jv/target", false, K::maven},
      {"target", {}, "/Users/ann/code/jv/target", false, std::nullopt},
      {"build", {"settings.gradle.kts", "pubspec.yaml"}, "/Users/ann/code/a/build", false,
       K::gradleBuild},
      {"build", {"pubspec.yaml"}, "/Users/ann/code/f/build", false, K::flutterBuild},
      {"build", {"Makefile"}, "/Users/ann/code/c/build", false, std::nullopt},
      {"build", {"Makefile"}, "/Users/ann/code/c/build", true, K::venv},
      {".gradle", {"build.gradle"}, "/Users/ann/code/a/.gradle", false, K::gradleCache},
      {".dart_tool", {"pubspec.yaml"}, "/Users/ann/code/f/.dart_tool", false, K::dartTool},
      {".pytest_cache", {}, "/srv/x/.pytest_cache", false, K::pyCache},
      {".tox", {}, "/Users/ann/code/p/.tox", false, K::pyCache},
      {"env", {}, "/Users/ann/code/app/env", true, K::venv},
      {"env", {}, "/opt/app/env", true, std::nullopt},
      {".venv", {}, "/Users/ann/.local/tool/.venv", true, std::nullopt},
      {".venv", {}, "/Users/ann/code/app/node_modules/x/.venv", true, std::nullopt},
      {"src", {}, "/Users/ann/code/app/src", false, std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ProjectRules::kind(c.name, c.siblings, c.path, c.isVenv, kHome), c.expected)
        << c.path << (c.isVenv ? " (venv)" : "");
  }
}

TEST(ProjectRules, ToolFoldersAreOutsideHomeHiddenOrLibrary) {
  EXPECT_TRUE(ProjectRules::inToolFolder("/opt/x", kHome));
  EXPECT_TRUE(ProjectRules::inToolFolder("/Users/ann", kHome));
  EXPECT_TRUE(ProjectRules::inToolFolder("/Users/annex/code", kHome));
  EXPECT_TRUE(ProjectRules::inToolFolder("/Users/ann/.cache/x", kHome));
  EXPECT_TRUE(ProjectRules::inToolFolder("/Users/ann/Library/x", kHome));
  EXPECT_FALSE(ProjectRules::inToolFolder("/Users/ann/LibraryStuff/x", kHome));
  EXPECT_FALSE(ProjectRules::inToolFolder("/Users/ann/code", kHome));
}

TEST(ProjectRules, SensitiveNamesAreExactlyTheTwentyOne) {
  int count = 0;
  for (const char* name :
       {"node_modules", ".next", ".nuxt", ".turbo", ".parcel-cache", ".svelte-kit", ".expo",
        ".angular", ".vercel", ".output", "DerivedData", ".build", "Pods", "target", "build",
        ".gradle", ".dart_tool", ".mypy_cache", ".pytest_cache", ".ruff_cache", ".tox"}) {
    EXPECT_TRUE(ProjectRules::isSensitiveName(name)) << name;
    ++count;
  }
  EXPECT_EQ(count, 21);
  EXPECT_FALSE(ProjectRules::isSensitiveName("Build"));
  EXPECT_FALSE(ProjectRules::isSensitiveName(".venv"));
}

TEST(ProjectRules, KindsEncodeAsTheirCaseNames) {
  for (int raw = 0; raw <= static_cast<int>(ProjectJunkKind::venv); ++raw) {
    const auto kind = static_cast<ProjectJunkKind>(raw);
    EXPECT_EQ(projectJunkKindNamed(caseName(kind)), kind);
  }
  EXPECT_EQ(caseName(ProjectJunkKind::xcodeDerivedData), "xcodeDerivedData");
  EXPECT_EQ(projectJunkKindNamed("NodeModules"), std::nullopt);
}

}  // namespace
}  // namespace tallyfin
