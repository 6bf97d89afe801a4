#include "kit/store/store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>

#include "kit/base/small_file.h"
#include "kit/base/system_error.h"
#include "kit/platform/user_folders.h"
#include "kit/store/atomic_file.h"
#include "kit/store/file_lock.h"

namespace tallyfin {
namespace {

constexpr std::string_view kFolderName = "Tallyfin";
constexpr std::string_view kLegacyFolderName = "MossLedger";

bool isOwnDirectory(const std::string& path) {
  struct stat info;
  return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::getuid();
}

// Moves the former product's folder into place once, only when nothing is there yet.
void migrateLegacyFolder(const std::string& parent) {
  const std::string target = parent + "/" + std::string(kFolderName);
  const std::string legacy = parent + "/" + std::string(kLegacyFolderName);
  struct stat info;
  if (::lstat(target.c_str(), &info) == 0) return;
  if (isOwnDirectory(legacy)) ::rename(legacy.c_str(), target.c_str());
}

}  // namespace

std::string_view Store::fileName(File file) {
  static constexpr std::array<std::string_view, 10> kNames = {
      "report.json",  "history.json",          "snapshot.json",
      "keep.json",    "trash-journal.json",    "timings.json",
      "notification-state.json", "folder-history.json", "scan.lock",
      "duplicate-hashes.plist"};
  return kNames[static_cast<size_t>(file)];
}

Store::Store(std::string directory) : directory_(std::move(directory)) {
  std::error_code ignored;
  std::filesystem::create_directories(directory_, ignored);
  // chmod follows links, so only a folder that is really ours is tightened.
  if (isOwnDirectory(directory_)) ::chmod(directory_.c_str(), 0700);
}

Store Store::standard() {
  const std::string parent = platform::applicationSupportFolder();
  std::error_code ignored;
  std::filesystem::create_directories(parent, ignored);
  migrateLegacyFolder(parent);
  return Store(parent + "/" + std::string(kFolderName));
}

std::string Store::url(File file) const { return directory_ + "/" + std::string(fileName(file)); }

bool Store::isTrusted() const { return isOwnDirectory(directory_); }

Error Store::untrustedError(File file) const {
  return {"You don't have permission to save " + std::string(fileName(file)) + " in " +
              directory_ + " — the data folder must be a folder you own, not a link.",
          EACCES};
}

std::optional<std::string> Store::loadText(File file) const {
  if (!isTrusted()) return std::nullopt;
  return readSmallFile(url(file), kLargestLoad);
}

std::optional<nlohmann::json> Store::loadJson(File file) const {
  auto text = loadText(file);
  if (!text) return std::nullopt;
  auto json = nlohmann::json::parse(*text, nullptr, /*allow_exceptions=*/false);
  if (json.is_discarded()) return std::nullopt;
  return json;
}

Status Store::saveText(std::string_view data, File file) const {
  if (!isTrusted()) return fail(untrustedError(file));
  return AtomicFile::write(data, url(file), 0600);
}

Status Store::saveJson(const nlohmann::json& json, File file) const {
  return saveText(json.dump(), file);
}

Status Store::withLock(File file, const std::function<Status()>& body) const {
  if (!isTrusted()) return fail(untrustedError(file));
  return withFileLock(url(file) + ".lock", body);
}

Status Store::remove(File file) const {
  if (!isTrusted()) return fail(untrustedError(file));
  if (::unlink(url(file).c_str()) != 0 && errno != ENOENT) {
    const int code = errno;
    return fail(Error{"Could not remove " + url(file) + ": " + errnoText(code) + ".", code});
  }
  return ok();
}

std::optional<double> Store::modificationDate(File file) const {
  return modificationSeconds(url(file));
}

std::optional<double> modificationSeconds(const std::string& path) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
  return static_cast<double>(info.st_mtim.tv_sec) + static_cast<double>(info.st_mtim.tv_nsec) / 1e9;
}

}  // namespace tallyfin
