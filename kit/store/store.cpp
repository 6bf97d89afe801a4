#include "kit/store/store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <vector>

#include "kit/base/small_file.h"
#include "kit/base/system_error.h"
#include "kit/platform/system_log.h"
#include "kit/platform/user_folders.h"
#include "kit/base/atomic_file.h"
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
  std::error_code made;
  std::filesystem::create_directories(directory_, made);
  creationError_ = made.value();
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

std::string Store::trustProblem() const {
  struct stat info;
  if (::lstat(directory_.c_str(), &info) != 0) {
    const int code = creationError_ ? creationError_ : errno;
    return "Can't create the Tallyfin data folder " + directory_ + ": " + errnoText(code) +
           " — give --store a folder you can write to.";
  }
  if (S_ISLNK(info.st_mode)) {
    return "The Tallyfin data folder " + directory_ +
           " is a symbolic link — Tallyfin keeps its records only in a real folder. Replace the "
           "link with a folder, or give --store one.";
  }
  if (!S_ISDIR(info.st_mode)) {
    return directory_ + " is a file, not a folder — give --store a folder for Tallyfin's data.";
  }
  return "The Tallyfin data folder isn't owned by you: " + directory_ +
         " — give --store a folder of your own.";
}

Error Store::untrustedError(File file) const {
  return {"Can't save " + std::string(fileName(file)) + ". " + trustProblem(), EACCES};
}

Error Store::damagedError(File file) const {
  return {std::string(fileName(file)) + " in " + directory_ + " is damaged and can't be read", EILSEQ};
}

bool Store::exists(File file) const {
  struct stat info;
  return ::lstat(url(file).c_str(), &info) == 0;
}

namespace {

std::string corruptStamp() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  ::gmtime_r(&now, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", &utc);
  return text;
}

// Only the newest copies stay: a file that keeps breaking must not fill the folder.
void removeOldCopies(const std::string& directory, const std::string& prefix, size_t kept) {
  std::vector<std::string> copies;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with(prefix)) copies.push_back(name);
  }
  // Oldest first: by stamp, then by the copy number a second copy within one second gets.
  const auto order = [&prefix](const std::string& name) {
    const std::string_view rest = std::string_view(name).substr(prefix.size());
    const size_t dash = rest.find('-', rest.find('-') + 1);
    const std::string_view stamp = rest.substr(0, dash);
    const int copy = dash == std::string_view::npos ? 1 : std::atoi(std::string(rest.substr(dash + 1)).c_str());
    return std::pair(std::string(stamp), copy);
  };
  std::sort(copies.begin(), copies.end(),
            [&](const std::string& a, const std::string& b) { return order(a) < order(b); });
  for (size_t i = 0; i + kept < copies.size(); ++i) {
    std::filesystem::remove_all(directory + "/" + copies[i], error);
  }
}

}  // namespace

Expected<std::string, Error> Store::keepAside(File file) const {
  if (!isTrusted()) return fail(untrustedError(file));
  const std::string name(fileName(file));
  const std::string prefix = name + ".corrupt-";
  const std::string stamped = directory_ + "/" + prefix + corruptStamp();
  std::string target = stamped;
  struct stat info;
  for (int copy = 2; ::lstat(target.c_str(), &info) == 0; ++copy) {
    target = stamped + "-" + std::to_string(copy);
  }
  if (::rename(url(file).c_str(), target.c_str()) != 0) {
    const int code = errno;
    return fail(Error{"Can't move the damaged " + url(file) + " aside: " + errnoText(code) +
                          " — move it away by hand, then try again.",
                      code});
  }
  removeOldCopies(directory_, prefix, kCorruptCopiesKept);
  const std::string sentence = "Earlier records in " + name +
                               " couldn't be read; the damaged file is kept as " + target + ".";
  platform::systemLog(platform::LogLevel::error, sentence);
  return sentence;
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
