#pragma once

// What kind of data a file holds, judged by its name or by the folder it sits in.

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace tallyfin {

enum class FileKind : uint8_t {
  other = 0,
  video,
  images,
  audio,
  archives,
  diskImages,
  models,
  documents,
  databases,
  dev,
  apps,
  caches,
  simulators,
};

inline constexpr size_t kFileKindCount = 13;

namespace file_kind {

// The label the views show, e.g. "Photos & images".
std::string_view label(FileKind kind);

// The kind of a file by its last extension, compared in lower case; `other` without one.
FileKind of(std::string_view fileName);

// The kind a folder forces on everything below it, given its parent's forced kind.
std::optional<FileKind> override(std::optional<FileKind> parent, std::string_view folder);

// `override` applied to each component of an absolute or relative path in turn.
std::optional<FileKind> overrideForPath(std::string_view path);

// The kind for a stored number; none for a number outside 0 to 12.
std::optional<FileKind> fromNumber(int64_t number);

}  // namespace file_kind

// Bytes and file count of one kind over a whole scan.
struct TypeTotal {
  FileKind kind = FileKind::other;
  int64_t size = 0;
  int64_t files = 0;
  bool operator==(const TypeTotal&) const = default;
};

void to_json(nlohmann::json& json, const TypeTotal& total);
void from_json(const nlohmann::json& json, TypeTotal& total);

}  // namespace tallyfin
