#include "kit/scan/disk_node.h"

#include <gtest/gtest.h>

#include "kit/scan/scan_configuration.h"

namespace tallyfin {
namespace {

constexpr int64_t MB = 1'000'000;
constexpr int64_t MiB = 1'048'576;

DiskNode folder(std::string name, int64_t size, int64_t files = 1) {
  DiskNode node;
  node.name = std::move(name);
  node.size = size;
  node.files = files;
  return node;
}

ScanConfiguration plainConfiguration() { return ScanConfiguration("/scan", "/home/ann", {}); }

TEST(DiskNodeJson, LeavesOutZeroValuesAndWritesKeysInOrder) {
  EXPECT_EQ(encodeJson(folder("a", 5, 0)), R"({"name":"a","size":5})");

  DiskNode file = folder("movie.mp4", 200, 1);
  file.modified = 1700000000;
  file.kind = DiskNode::Kind::file;
  DiskNode parent = folder("Movies", 300, 4);
  parent.children = {file};
  EXPECT_EQ(encodeJson(parent),
            R"({"name":"Movies","size":300,"files":4,"children":[{"name":"movie.mp4","size":200,)"
            R"("files":1,"modified":1700000000,"kind":1}]})");
}

TEST(DiskNodeJson, EscapesNamesButNotSlashes) {
  EXPECT_EQ(encodeJson(folder("a/b \"q\"\n\x01", 1, 0)),
            R"({"name":"a/b \"q\"\n\u0001","size":1})");
}

TEST(DiskNodeJson, RoundTripsEveryKind) {
  DiskNode root = folder("/", 1000, 10);
  for (int raw = 0; raw <= 4; ++raw) {
    DiskNode child = folder("c" + std::to_string(raw), 100 - raw, raw);
    child.kind = static_cast<DiskNode::Kind>(raw);
    child.modified = raw * 1000;
    root.children.push_back(child);
  }
  const auto decoded = decodeDiskNode(encodeJson(root));
  ASSERT_TRUE(decoded.ok()) << decoded.error();
  EXPECT_EQ(*decoded, root);
}

TEST(DiskNodeJson, MissingOptionalKeysReadAsZero) {
  const auto decoded = decodeDiskNode(R"({"size":7,"name":"x"})");
  ASSERT_TRUE(decoded.ok());
  EXPECT_EQ(*decoded, folder("x", 7, 0));
}

TEST(DiskNodeJson, RejectsUnknownKindsAnywhereInTheDocument) {
  EXPECT_FALSE(decodeDiskNode(R"({"name":"x","size":1,"kind":5})").ok());
  EXPECT_FALSE(decodeDiskNode(R"({"name":"x","size":1,"children":[{"name":"y","size":1,"kind":-1}]})").ok());
  EXPECT_FALSE(decodeDiskNode(R"({"name":"x","size":1,"children":{"name":"y","size":1}})").ok());
  EXPECT_FALSE(decodeDiskNode(R"({"name":"x","size":1,"children":[{"name":"y","size":1}])").ok());
  EXPECT_FALSE(decodeDiskNode(R"({"name":"x"})").ok());
  EXPECT_FALSE(decodeDiskNode(R"({"name":"x","size":"1"})").ok());
}

TEST(DiskNodeLookup, ChildSkipsSmallerNodesAndNeedsAnExactName) {
  DiskNode smaller = folder("", 10);
  smaller.kind = DiskNode::Kind::smaller;
  DiskNode root = folder("/", 100);
  root.children = {folder("Docs", 50), folder("docs", 40), smaller};
  EXPECT_EQ(root.child("docs")->size, 40);
  EXPECT_EQ(root.child("Docs")->size, 50);
  EXPECT_EQ(root.child(""), nullptr);
  EXPECT_EQ(root.child("doc"), nullptr);
}

TEST(DiskNodeLookup, NodeAtIgnoresEmptyPiecesAndFailsOnAnyMiss) {
  DiskNode b = folder("b", 10);
  DiskNode a = folder("a", 20);
  a.children = {b};
  DiskNode root = folder("/", 30);
  root.children = {a};
  EXPECT_EQ(root.node("a//b/"), root.node("a/b"));
  EXPECT_EQ(root.node("/a/b")->size, 10);
  EXPECT_EQ(root.node(""), &root);
  EXPECT_EQ(root.node("/"), &root);
  EXPECT_EQ(root.node("a/c"), nullptr);
  EXPECT_EQ(root.node("a/b/c"), nullptr);
}

TEST(Pruning, FolderWithOnlySmallChildrenKeepsNoneButItsTotals) {
  const auto kept = prune({folder("a", 5 * MB), folder("b", 3 * MB)}, 9 * MB, 12, "/x",
                          plainConfiguration());
  EXPECT_TRUE(kept.empty());
}

TEST(Pruning, SixtyOneBigChildrenKeepSixtyAndFoldTheLast) {
  std::vector<DiskNode> children;
  for (int i = 0; i < 61; ++i) children.push_back(folder("c" + std::to_string(i), 20 * MB, 2));
  const auto kept = prune(children, 61 * 20 * MB, 122, "/x", plainConfiguration());
  ASSERT_EQ(kept.size(), 61u);
  EXPECT_EQ(kept[59].name, "c59");  // equal sizes keep their order
  EXPECT_EQ(kept.back().kind, DiskNode::Kind::smaller);
  EXPECT_EQ(kept.back().size, 20 * MB);
  EXPECT_EQ(kept.back().files, 2);
  EXPECT_EQ(kept.back().name, "");
}

TEST(Pruning, SmallChildAndLooseFilesFoldIntoOneSmallerNodeThatStaysLast) {
  const auto kept = prune({folder("small", 5 * MB, 3), folder("big", 30 * MB, 4)}, 100 * MB, 20,
                          "/x", plainConfiguration());
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].name, "big");
  EXPECT_EQ(kept[1].kind, DiskNode::Kind::smaller);
  EXPECT_EQ(kept[1].size, 70 * MB);  // larger than the kept child, still last
  EXPECT_EQ(kept[1].files, 16);
}

TEST(Pruning, NoSmallerNodeWhenKeptChildrenCoverEveryByte) {
  const auto kept =
      prune({folder("a", 20 * MB), folder("b", 30 * MB)}, 50 * MB, 2, "/x", plainConfiguration());
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].name, "b");
  EXPECT_EQ(kept[1].name, "a");
}

TEST(Pruning, KeepAllFoldersKeepChildrenDownToOneMebibyte) {
  auto configuration = plainConfiguration();
  configuration.keepAll = {"/keep"};
  configuration.keepAllParents = {"/models"};
  std::vector<DiskNode> children;
  for (int i = 0; i < 4001; ++i) children.push_back(folder("c" + std::to_string(i), MiB, 1));
  children.push_back(folder("tiny", MiB - 1, 1));

  const int64_t total = 4001 * MiB + MiB - 1;
  const auto keep = prune(children, total, 4002, "/keep", configuration);
  ASSERT_EQ(keep.size(), 4001u);  // 4,000 kept and the rest folded
  EXPECT_EQ(keep.back().size, MiB + MiB - 1);

  EXPECT_EQ(prune(children, total, 4002, "/models/org", configuration).size(), 4001u);
  EXPECT_TRUE(prune(children, total, 4002, "/models/org/x", configuration).empty());
}

TEST(Pruning, ParentPathOfTopLevelAndBareNames) {
  auto configuration = plainConfiguration();
  configuration.keepAllParents = {"/"};
  EXPECT_TRUE(configuration.keepsAllChildren("/Users"));
  EXPECT_FALSE(configuration.keepsAllChildren("Users"));
  configuration.keepAllParents = {""};
  EXPECT_TRUE(configuration.keepsAllChildren("Users"));
}

TEST(Anchor, WrapsTheTreeUpToTheTopFolder) {
  const DiskNode tree = anchor(folder("scan", 42, 3), "/tmp/work/scan");
  EXPECT_EQ(tree.name, "/");
  ASSERT_NE(tree.node("tmp/work/scan"), nullptr);
  EXPECT_EQ(tree.node("tmp/work/scan")->size, 42);
  EXPECT_EQ(tree.node("tmp")->files, 3);
  EXPECT_EQ(anchor(folder("", 1), "").name, "/");
}

}  // namespace
}  // namespace tallyfin
