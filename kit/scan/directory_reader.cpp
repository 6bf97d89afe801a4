#include "kit/scan/directory_reader.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "kit/base/system_error.h"
#include "kit/base/utf8.h"
#include "kit/platform/bulk_directory.h"

namespace tallyfin {

std::string DirectoryReadError::message() const {
  std::string text = "Could not read the folder " + path + ": " + errnoText(code) + ".";
  if (code == EACCES || code == EPERM) text += " Check its permissions, or skip it.";
  return text;
}

// Copies entries into the reader's storage. Names go into one growing string, so
// views are fixed up only when a listing or a piece of it is complete. With a
// handler, every kPieceEntries entries are handed over and the storage reused.
class DirectoryReader::Collector final : public platform::EntrySink {
 public:
  Collector(DirectoryReader& reader, std::string_view path, const PieceHandler* onPiece)
      : reader_(reader), path_(path), onPiece_(onPiece) {
    clear();
  }

  void add(const platform::RawEntry& raw) override {
    std::string& names = reader_.names_;
    const size_t rawStart = names.size();
    names.append(raw.name);
    size_t shownStart = rawStart;
    if (!isValidUtf8(raw.name)) {
      shownStart = names.size();
      appendRepairedUtf8(raw.name, names);
    }
    reader_.nameSpans_.push_back({rawStart, raw.name.size(), shownStart, names.size() - shownStart});
    DirEntry entry;
    entry.isDirectory = raw.isDirectory;
    entry.device = platform::deviceId(raw.device);
    entry.modified = raw.modified;
    entry.accessed = raw.accessed;
    entry.inode = raw.inode;
    entry.linkCount = raw.linkCount;
    entry.logicalSize = raw.logicalSize;
    entry.allocatedSize = raw.allocatedSize;
    reader_.entries_.push_back(entry);
    if (onPiece_ && reader_.entries_.size() == kPieceEntries) handOver();
  }

  Listing finish() {
    const std::string& names = reader_.names_;
    for (size_t i = 0; i < reader_.nameSpans_.size(); ++i) {
      const auto& span = reader_.nameSpans_[i];
      reader_.entries_[i].rawName = std::string_view(names).substr(span.rawStart, span.rawLength);
      reader_.entries_[i].name = std::string_view(names).substr(span.shownStart, span.shownLength);
    }
    if (!reader_.mounts_.empty()) reader_.markMountPoints(path_);
    return Listing(reader_.entries_);
  }

  // Passes on what was collected since the last piece, if anything.
  void handOver() {
    if (reader_.entries_.empty()) return;
    (*onPiece_)(finish());
    handedOver_ = true;
    clear();
  }

  bool handedOver() const { return handedOver_; }

  void clear() {
    reader_.entries_.clear();
    reader_.names_.clear();
    reader_.nameSpans_.clear();
  }

 private:
  DirectoryReader& reader_;
  std::string_view path_;
  const PieceHandler* onPiece_;
  bool handedOver_ = false;
};

DirectoryReader::DirectoryReader(PathSet mounts)
    : buffer_(new char[kBufferSize]), mounts_(std::move(mounts)) {
  for (const auto& mount : mounts_) mountParents_.emplace(parentPath(mount));
}

ListResult DirectoryReader::list(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return fail(DirectoryReadError{path, errno});
  auto result = list(fd, path);
  ::close(fd);
  return result;
}

ListResult DirectoryReader::list(int directoryFd, std::string_view path) {
  auto bulk = listBulk(directoryFd, path);
  return bulk ? std::move(*bulk) : listPortable(directoryFd, path);
}

std::optional<DirectoryReadError> DirectoryReader::listInPieces(int directoryFd,
                                                                std::string_view path,
                                                                PieceHandler onPiece) {
  Collector collector(*this, path, &onPiece);
  int errorCode = 0;
  switch (platform::listBulk(directoryFd, std::span<char>(buffer_.get(), kBufferSize), collector,
                             errorCode)) {
    case platform::BulkStatus::listed:
      collector.handOver();
      return std::nullopt;
    case platform::BulkStatus::notSupported:
      // Pieces already handed over can't be taken back, so only a refusal at the start falls back.
      if (!collector.handedOver()) {
        Collector portable(*this, path, &onPiece);
        if (auto error = readPortable(directoryFd, path, portable)) return error;
        portable.handOver();
        return std::nullopt;
      }
      break;
    case platform::BulkStatus::failed:
      break;
  }
  collector.clear();
  return DirectoryReadError{std::string(path), errorCode};
}

std::optional<ListResult> DirectoryReader::listBulk(int directoryFd, std::string_view path) {
  Collector collector(*this, path, nullptr);
  int errorCode = 0;
  switch (platform::listBulk(directoryFd, std::span<char>(buffer_.get(), kBufferSize), collector,
                             errorCode)) {
    case platform::BulkStatus::listed:
      return ListResult(collector.finish());
    case platform::BulkStatus::notSupported:
      return std::nullopt;
    case platform::BulkStatus::failed:
      collector.clear();
      return ListResult(fail(DirectoryReadError{std::string(path), errorCode}));
  }
  return std::nullopt;
}

ListResult DirectoryReader::listPortable(int directoryFd, std::string_view path) {
  Collector collector(*this, path, nullptr);
  if (auto error = readPortable(directoryFd, path, collector)) return fail(std::move(*error));
  return collector.finish();
}

std::optional<DirectoryReadError> DirectoryReader::readPortable(int directoryFd,
                                                                std::string_view path,
                                                                Collector& collector) {
  // The directory stream takes ownership of its descriptor, so it gets a copy.
  const int own = ::openat(directoryFd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* directory = own < 0 ? nullptr : ::fdopendir(own);
  if (!directory) {
    const int code = errno;
    if (own >= 0) ::close(own);
    return DirectoryReadError{std::string(path), code};
  }
  while (const dirent* record = ::readdir(directory)) {
    const std::string_view name(record->d_name);
    if (name == "." || name == "..") continue;
    struct stat info;
    if (::fstatat(::dirfd(directory), record->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) continue;
    platform::RawEntry entry;
    entry.name = name;
    entry.isDirectory = S_ISDIR(info.st_mode);
    entry.device = info.st_dev;
    entry.modified = info.st_mtim.tv_sec;
    entry.accessed = info.st_atim.tv_sec;
    entry.inode = info.st_ino;
    entry.linkCount = static_cast<uint32_t>(info.st_nlink);
    if (!entry.isDirectory) {
      entry.logicalSize = info.st_size;
      entry.allocatedSize = static_cast<int64_t>(info.st_blocks) * 512;
    }
    collector.add(entry);
  }
  ::closedir(directory);
  return std::nullopt;
}

// Only folders that hold a mount point need their entries' full paths built.
void DirectoryReader::markMountPoints(std::string_view path) {
  std::string_view folder = path;
  if (folder.size() > 1 && folder.back() == '/') folder.remove_suffix(1);
  if (!mountParents_.contains(folder)) return;
  for (auto& entry : entries_) {
    if (!entry.isDirectory) continue;
    scratchPath_.assign(path);
    if (scratchPath_.empty() || scratchPath_.back() != '/') scratchPath_ += '/';
    scratchPath_ += entry.name;
    if (mounts_.contains(scratchPath_)) entry.device = -1;
  }
}

}  // namespace tallyfin
