#include "kit/cleanup/cleanup_rules.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "kit/base/paths.h"
#include "tests/support/temp_folder.h"
#include "tests/support/tree_builder.h"

namespace tallyfin {
namespace {

using testing::TreeBuilder;

const std::string kHome = "/Users/ann";
constexpr int64_t KiB = 1024;
constexpr int64_t MiB = 1024 * KiB;

const CleanupItem* find(const std::vector<CleanupItem>& items, const std::string& path) {
  for (const auto& item : items) {
    if (item.path == path) return &item;
  }
  return nullptr;
}

std::vector<CleanupItem> itemsOf(const DiskNode& tree, const std::vector<ProjectJunk>& junk = {},
                                 const ToolSnapshot& tools = {}) {
  return CleanupRules(kHome).items(tree, junk, tools);
}

// A path the rule's pattern matches, with "*" filled by a name no skip set holds.
std::string concretePath(const Rule& rule) {
  std::string path;
  int wildcard = 0;
  forEachComponent(rule.pattern, [&](std::string_view piece) {
    path += "/";
    path += piece == "*" ? "item" + std::to_string(++wildcard) : std::string(piece);
  });
  return path;
}

TEST(CleanupRules, TableHasItsRowsInOrder) {
  const auto rules = CleanupRules(kHome).rules();
  ASSERT_EQ(rules.size(), 46u + 36u + 6u);
  EXPECT_EQ(rules[0].pattern, kHome + "/Library/Developer/Xcode/DerivedData/*");
  EXPECT_EQ(rules[45].pattern, kHome + "/Library/Logs");
  EXPECT_EQ(rules[46].pattern, kHome + "/Library/Application Support/Code/Cache");
  EXPECT_EQ(rules[46].title, "Code Cache");
  EXPECT_EQ(rules[51].title, "Code workspaceStorage");
  EXPECT_EQ(rules[51].safety, Safety::review);
  EXPECT_EQ(rules[81].pattern, kHome + "/Library/Application Support/Zed/User/workspaceStorage");
  const auto untrashable = std::count_if(rules.begin(), rules.begin() + 46,
                                         [](const Rule& r) { return !r.trashable; });
  EXPECT_EQ(untrashable, 5);
  for (size_t i = 82; i < rules.size(); ++i) {
    EXPECT_FALSE(rules[i].pattern.starts_with(kHome + "/.config")) << rules[i].pattern;
  }
}

TEST(CleanupRules, EveryRuleRowYieldsItsOwnItem) {
  for (const Rule& rule : CleanupRules(kHome).rules()) {
    const std::string path = concretePath(rule);
    const auto items = itemsOf(TreeBuilder().add(path, rule.minSize, DiskNode::Kind::folder, 77).build());
    const CleanupItem* item = find(items, path);
    ASSERT_NE(item, nullptr) << rule.pattern;
    EXPECT_EQ(item->category, rule.category) << rule.pattern;
    EXPECT_EQ(item->safety, rule.safety) << rule.pattern;
    EXPECT_EQ(item->detail, rule.detail) << rule.pattern;
    EXPECT_EQ(item->trashable, rule.trashable) << rule.pattern;
    EXPECT_EQ(item->size, rule.minSize) << rule.pattern;
    EXPECT_EQ(item->modified, 77) << rule.pattern;
    EXPECT_EQ(item->command.has_value(), rule.command.has_value()) << rule.pattern;
    EXPECT_TRUE(item->title.starts_with(rule.title)) << rule.pattern;
    EXPECT_TRUE(CleanupRules::recognizes(path, kHome)) << rule.pattern;
  }
}

TEST(CleanupRules, SizeFloors) {
  const std::string logs = kHome + "/Library/Logs";
  EXPECT_TRUE(itemsOf(TreeBuilder().add(logs, 524'287).build()).empty());
  EXPECT_EQ(itemsOf(TreeBuilder().add(logs, 524'288).build()).size(), 1u);

  const std::string sessions = kHome + "/.codex/sessions";
  EXPECT_TRUE(itemsOf(TreeBuilder().add(sessions, 200 * MiB - 1).build()).empty());
  EXPECT_EQ(itemsOf(TreeBuilder().add(sessions, 200 * MiB).build()).size(), 1u);
}

TEST(CleanupRules, FirstRuleClaimsAPathAndSkipSetsKeepToolCachesApart) {
  const auto items = itemsOf(TreeBuilder()
                                 .add(kHome + "/Library/Caches/Yarn", 5 * MiB)
                                 .add(kHome + "/Library/Caches/com.app", 4 * MiB)
                                 .add(kHome + "/.cache/pip", 3 * MiB)
                                 .add(kHome + "/.cache/huggingface/hub/models--org--m", 9 * MiB)
                                 .add(kHome + "/.cache/ruff", 2 * MiB)
                                 .build());
  ASSERT_EQ(items.size(), 5u);
  EXPECT_EQ(find(items, kHome + "/Library/Caches/Yarn")->title, "Yarn cache");
  EXPECT_EQ(find(items, kHome + "/Library/Caches/com.app")->title, "App cache \u00B7 com.app");
  EXPECT_EQ(find(items, kHome + "/.cache/pip")->title, "pip cache");
  EXPECT_EQ(find(items, kHome + "/.cache/huggingface"), nullptr);
  EXPECT_EQ(find(items, kHome + "/.cache/huggingface/hub/models--org--m")->title,
            "Hugging Face \u00B7 models--org--m");
  EXPECT_EQ(find(items, kHome + "/.cache/ruff")->title, "Tool cache \u00B7 ruff");
  // Largest first.
  EXPECT_TRUE(std::is_sorted(items.begin(), items.end(),
                             [](auto& a, auto& b) { return a.size > b.size; }));
}

TEST(CleanupRules, WildcardNeverTakesTheFoldedRemainder) {
  const auto tree = TreeBuilder()
                        .add(kHome + "/Library/Caches/real", MiB)
                        .add(kHome + "/Library/Caches/folded", 3 * MiB, DiskNode::Kind::smaller)
                        .build();
  const auto reached = CleanupRules::expand(tree, kHome + "/Library/Caches/*");
  ASSERT_EQ(reached.size(), 1u);
  EXPECT_EQ(reached[0].first, kHome + "/Library/Caches/real");
}

TEST(CleanupRules, DisplayNamesOfWildcardItems) {
  const std::string derived = kHome + "/Library/Developer/Xcode/DerivedData/";
  const std::string hash28(28, 'q');
  const auto items = itemsOf(
      TreeBuilder()
          .add(derived + "MyApp-" + hash28, MiB)
          .add(derived + "Short-" + std::string(27, 'q'), MiB)
          .add(derived + "Upper-" + std::string(27, 'q') + "Q", MiB)
          .add(kHome + "/Library/Containers/com.maker.app/Data/Library/Caches", MiB)
          .add(kHome + "/.var/app/org.gimp.GIMP/cache", MiB)
          .add(kHome + "/.rustup/toolchains/nightly x86", MiB)
          .build());
  EXPECT_EQ(find(items, derived + "MyApp-" + hash28)->title, "DerivedData \u00B7 MyApp");
  EXPECT_EQ(find(items, derived + "Short-" + std::string(27, 'q'))->title,
            "DerivedData \u00B7 Short-" + std::string(27, 'q'));
  EXPECT_EQ(find(items, derived + "Upper-" + std::string(27, 'q') + "Q")->title,
            "DerivedData \u00B7 Upper-" + std::string(27, 'q') + "Q");
  EXPECT_EQ(find(items, kHome + "/Library/Containers/com.maker.app/Data/Library/Caches")->title,
            "Sandboxed app cache \u00B7 com.maker.app");
  EXPECT_EQ(find(items, kHome + "/.var/app/org.gimp.GIMP/cache")->title,
            "Flatpak app cache \u00B7 org.gimp.GIMP");
  EXPECT_EQ(find(items, kHome + "/.rustup/toolchains/nightly x86")->command,
            "rustup toolchain uninstall 'nightly x86'");
}

TEST(CleanupRules, ProjectJunkToolsWorktreesAndInstallers) {
  const std::string app = kHome + "/code/app";
  const auto tree = TreeBuilder()
                        .add(app + "/node_modules", 8 * MiB)
                        .add(kHome + "/Library/Developer/CoreSimulator/Devices/UDID-1", 6 * MiB)
                        .add(kHome + "/code/site/.claude/worktrees/fix-login", 5 * MiB)
                        .add(kHome + "/.codex/worktrees/a1b2/repo", 4 * MiB)
                        .add(kHome + "/Downloads/Tool.DMG", 3 * MiB, DiskNode::Kind::file)
                        .add(kHome + "/Downloads/notes.pdf", 3 * MiB, DiskNode::Kind::file)
                        .build();
  ToolSnapshot tools;
  tools.devices.push_back({"UDID-1", "iPhone 15", "com.apple.CoreSimulator.SimRuntime.iOS-17-2",
                           false, 1'700'000'000});
  tools.runtimes.push_back({"rt.iOS-17-2", "iOS 17.2", "/Library/Developer/rt", 7 * MiB, {},
                            "com.apple.CoreSimulator.SimRuntime.iOS-17-2"});
  tools.ollama.push_back({"llama3:8b", 9 * MiB, 1'700'000'001});
  const std::vector<ProjectJunk> junk = {
      {app + "/node_modules", 8 * MiB, 1234, ProjectJunkKind::nodeModules},
      {kHome + "/.Trash/old/node_modules", 8 * MiB, 1, ProjectJunkKind::nodeModules}};

  const auto items = itemsOf(tree, junk, tools);
  ASSERT_EQ(items.size(), 7u);
  const CleanupItem* modules = find(items, app + "/node_modules");
  EXPECT_EQ(modules->title, "node_modules \u00B7 app");
  EXPECT_EQ(modules->project, app);
  EXPECT_EQ(modules->modified, 1234);

  const CleanupItem* device =
      find(items, kHome + "/Library/Developer/CoreSimulator/Devices/UDID-1");
  EXPECT_EQ(device->title, "iPhone 15 \u00B7 iOS 17.2");
  EXPECT_EQ(device->lastUsed, 1'700'000'000);
  EXPECT_EQ(device->detail, "Its runtime is no longer installed \u2014 this simulator can't even boot.");
  EXPECT_EQ(device->command, "xcrun simctl delete UDID-1");

  EXPECT_EQ(find(items, "/Library/Developer/rt")->title, "iOS 17.2 Simulator runtime");
  const CleanupItem* model = find(
      items, kHome + "/.ollama/models/manifests/registry.ollama.ai/library/llama3/8b");
  EXPECT_EQ(model->title, "Ollama \u00B7 llama3:8b");
  EXPECT_FALSE(model->trashable);

  EXPECT_EQ(find(items, kHome + "/code/site/.claude/worktrees/fix-login")->category,
            CleanupCategory::agents);
  EXPECT_EQ(find(items, kHome + "/.codex/worktrees/a1b2")->title, "Codex worktree \u00B7 a1b2");
  EXPECT_EQ(find(items, kHome + "/Downloads/Tool.DMG")->category, CleanupCategory::downloads);
  EXPECT_EQ(find(items, kHome + "/Downloads/notes.pdf"), nullptr);
}

TEST(CleanupRules, RuntimeNames) {
  EXPECT_EQ(runtimeDisplayName("com.apple.CoreSimulator.SimRuntime.iOS-17-2"), "iOS 17.2");
  EXPECT_EQ(runtimeDisplayName("watchOS-10-0"), "watchOS 10.0");
}

TEST(CleanupRules, RecognizesProjectJunkFromTheDiskBesideIt) {
  testing::TempFolder home;
  testing::writeFile(home / "code/app/package.json", 2);
  testing::makeFolder(home / "code/app/node_modules");
  testing::makeFolder(home / "code/bare/node_modules");
  testing::writeFile(home / "code/py/env/pyvenv.cfg", 2);
  EXPECT_TRUE(CleanupRules::recognizes(home / "code/app/node_modules", home.path()));
  EXPECT_FALSE(CleanupRules::recognizes(home / "code/bare/node_modules", home.path()));
  EXPECT_TRUE(CleanupRules::recognizes(home / "code/py/env", home.path()));
  EXPECT_FALSE(CleanupRules::recognizes(home / "code/app", home.path()));
  EXPECT_FALSE(CleanupRules::recognizes(home / ".cache/pip/x", home.path()));
  EXPECT_TRUE(CleanupRules::recognizes(home / "Downloads/setup.iso", home.path()));
}

}  // namespace
}  // namespace tallyfin
