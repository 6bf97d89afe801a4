#pragma once

// Lists one directory with exactly the metadata a scan needs; never opens a file.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kit/base/expected.h"
#include "kit/base/function_ref.h"
#include "kit/scan/scan_configuration.h"

namespace tallyfin {

struct DirEntry {
  std::string_view name;     // valid UTF-8, ill-formed bytes replaced
  std::string_view rawName;  // the bytes on disk, for opening the entry
  bool isDirectory = false;
  int32_t device = 0;  // -1 for an entry that is a foreign mount point
  int64_t modified = 0;
  int64_t accessed = 0;
  uint64_t inode = 0;
  uint32_t linkCount = 0;
  int64_t logicalSize = 0;
  int64_t allocatedSize = 0;
};

struct DirectoryReadError {
  std::string path;
  int32_t code = 0;  // errno

  // "Could not read the folder PATH: REASON. ..." for a person to read.
  std::string message() const;
};

// The entries stay valid until the reader lists another directory.
using Listing = std::span<const DirEntry>;
using ListResult = Expected<Listing, DirectoryReadError>;
// Takes one piece of a listing; its entries are valid only during the call.
using PieceHandler = FunctionRef<void(Listing piece)>;

// One reader per thread: its 128 KiB buffer and entry storage are reused for every call.
class DirectoryReader {
 public:
  static constexpr size_t kBufferSize = 131'072;
  // Most entries `listInPieces` holds at once: a reader's memory then follows
  // this, not the largest folder it ever met.
  static constexpr size_t kPieceEntries = 1'024;

  explicit DirectoryReader(PathSet mounts);

  // Opens and lists the directory at `path`.
  ListResult list(const std::string& path);
  // Lists a directory already open as `directoryFd` (left open); `path` names it.
  ListResult list(int directoryFd, std::string_view path);
  // Lists a directory open as `directoryFd` (left open) in pieces of at most
  // kPieceEntries, in the file system's order. On an error, pieces already handed
  // over were not the whole directory and the caller drops what it took from them.
  std::optional<DirectoryReadError> listInPieces(int directoryFd, std::string_view path,
                                                 PieceHandler onPiece);

  // The platform's bulk reader; none when the file system does not support it.
  std::optional<ListResult> listBulk(int directoryFd, std::string_view path);
  // readdir and fstatat, for file systems without bulk support.
  ListResult listPortable(int directoryFd, std::string_view path);

 private:
  class Collector;
  std::optional<DirectoryReadError> readPortable(int directoryFd, std::string_view path,
                                                 Collector& collector);
  void markMountPoints(std::string_view path);

  std::unique_ptr<char[]> buffer_;
  PathSet mounts_;
  PathSet mountParents_;  // folders that hold a mount point
  struct NameSpan {
    size_t rawStart, rawLength, shownStart, shownLength;
  };
  std::vector<DirEntry> entries_;
  std::vector<NameSpan> nameSpans_;  // where each entry's names sit in names_
  std::string names_;
  std::string scratchPath_;
};

}  // namespace tallyfin
