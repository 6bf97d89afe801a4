#pragma once

// The private data folder that every front end shares. It steers what may be
// moved to the Trash, so it must be a real folder owned by the user: a symbolic
// link or a foreign owner refuses every save and lock, and every load reads none.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "kit/base/error.h"

namespace tallyfin {

class Store {
 public:
  enum class File {
    report,
    history,
    snapshot,
    keep,
    journal,
    timings,
    notifications,
    folderHistory,
    lock,
    duplicateHashes,
  };

  static constexpr int64_t kLargestLoad = 268'435'456;  // 256 MiB

  static std::string_view fileName(File file);

  // A store on any folder, created with mode 0700 if it is missing.
  explicit Store(std::string directory);

  // The user's own store, moving a folder left by the product's former name into place.
  static Store standard();

  const std::string& directory() const { return directory_; }
  std::string url(File file) const;

  // A real directory (not a link) owned by this user.
  bool isTrusted() const;

  // The file's bytes; none when it is missing, not a regular file, over 256 MiB or
  // when the folder is not trusted.
  std::optional<std::string> loadText(File file) const;
  // The file as JSON; none also when it does not parse.
  std::optional<nlohmann::json> loadJson(File file) const;
  // The file decoded as T; none when anything about it is off.
  template <class T>
  std::optional<T> load(File file) const {
    auto json = loadJson(file);
    if (!json) return std::nullopt;
    try {
      return json->get<T>();
    } catch (const std::exception&) {
      return std::nullopt;
    }
  }

  Status saveText(std::string_view data, File file) const;
  Status saveJson(const nlohmann::json& json, File file) const;
  template <class T>
  Status save(const T& value, File file) const {
    return saveJson(nlohmann::json(value), file);
  }

  // Runs `body` while holding FILE.lock exclusively, waiting for other processes.
  Status withLock(File file, const std::function<Status()>& body) const;

  Status remove(File file) const;

  // Seconds since 1970, with a fraction.
  std::optional<double> modificationDate(File file) const;

  // The error every write gets in an untrusted folder.
  Error untrustedError(File file) const;

 private:
  std::string directory_;
};

// Seconds since 1970 of a file's modification, with a fraction; none if it is missing.
std::optional<double> modificationSeconds(const std::string& path);

}  // namespace tallyfin
