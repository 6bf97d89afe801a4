#include "kit/store/file_kind.h"

#include <gtest/gtest.h>

namespace tallyfin {
namespace {

TEST(FileKind, ByTheLastExtensionInLowerCase) {
  EXPECT_EQ(file_kind::of("Photo.JPG"), FileKind::images);
  EXPECT_EQ(file_kind::of("archive.tar.gz"), FileKind::archives);
  EXPECT_EQ(file_kind::of("Makefile"), FileKind::other);
  EXPECT_EQ(file_kind::of("trailing."), FileKind::other);
  EXPECT_EQ(file_kind::of("model.Q4.gguf"), FileKind::models);
  EXPECT_EQ(file_kind::of(".bashrc"), FileKind::other);
  EXPECT_EQ(file_kind::of("x.averyveryverylongextension"), FileKind::other);
  EXPECT_EQ(file_kind::of("db.sqlite3"), FileKind::databases);
}

TEST(FileKind, FolderOverridesFollowTheirPrecedence) {
  using file_kind::override;
  EXPECT_EQ(override(FileKind::caches, ".venv"), FileKind::dev);
  EXPECT_EQ(override(FileKind::models, "Cache"), FileKind::models);
  EXPECT_EQ(override(FileKind::dev, "Caches"), FileKind::dev);
  EXPECT_EQ(override(FileKind::apps, "node_modules"), FileKind::apps);
  EXPECT_EQ(override(std::nullopt, "Xcode.app"), FileKind::apps);
  EXPECT_EQ(override(FileKind::caches, "Thing.bundle"), FileKind::apps);
  EXPECT_EQ(override(std::nullopt, "CoreSimulator"), FileKind::simulators);
  EXPECT_EQ(override(std::nullopt, "Caches"), FileKind::caches);
  EXPECT_EQ(override(std::nullopt, "Documents"), std::nullopt);
  EXPECT_EQ(override(FileKind::caches, "Documents"), FileKind::caches);

  EXPECT_EQ(file_kind::overrideForPath("/Users/ann/.ollama/models/Cache"), FileKind::models);
  EXPECT_EQ(file_kind::overrideForPath("/Users/ann/Library/Caches/x/.venv"), FileKind::dev);
  EXPECT_EQ(file_kind::overrideForPath("/Users/ann/Documents"), std::nullopt);
}

TEST(FileKind, NumbersAndLabels) {
  EXPECT_EQ(file_kind::fromNumber(12), FileKind::simulators);
  EXPECT_EQ(file_kind::fromNumber(13), std::nullopt);
  EXPECT_EQ(file_kind::fromNumber(-1), std::nullopt);
  EXPECT_EQ(file_kind::label(FileKind::dev), "Code, dependencies & builds");
  EXPECT_EQ(file_kind::label(FileKind::models), "AI models & data");
}

}  // namespace
}  // namespace tallyfin
