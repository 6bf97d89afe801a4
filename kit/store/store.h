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

  // For a change of the file: its decoded value, none when there is no file, and
  // an error naming the file when something is there that does not decode.
  template <class T>
  Expected<std::optional<T>, Error> loadForChange(File file) const {
    if (!isTrusted()) return fail(untrustedError(file));
    if (!exists(file)) return std::optional<T>();
    if (auto value = load<T>(file)) return std::optional<T>(std::move(*value));
    return fail(damagedError(file));
  }

  // What a read-modify-write does with a file that is there but does not decode:
  // keep it beside as NAME.corrupt-<date> and start afresh, or stop.
  enum class OnDamage { keepAside, refuse };

  // The one read-modify-write of a store file: under the file's lock, read it (a
  // missing file is T's empty value), let `change` alter the value, save it. When
  // a damaged file was kept aside, the sentence that says so comes back.
  template <class T>
  Expected<std::optional<std::string>, Error> update(File file, OnDamage onDamage,
                                                     const std::function<Status(T&)>& change) const {
    std::optional<std::string> note;
    const Status status = withLock(file, [&]() -> Status {
      auto loaded = loadForChange<T>(file);
      T value{};
      if (loaded && *loaded) {
        value = std::move(**loaded);
      } else if (!loaded) {
        if (onDamage == OnDamage::refuse) return fail(loaded.error());
        auto kept = keepAside(file);
        if (!kept) return fail(kept.error());
        note = std::move(*kept);
      }
      if (Status changed = change(value); !changed) return changed;
      return save(value, file);
    });
    if (!status) return fail(status.error());
    return note;
  }

  // Moves a damaged file out of the way as NAME.corrupt-<date>, keeping only the
  // newest few such copies, and logs it; the sentence for the user.
  Expected<std::string, Error> keepAside(File file) const;

  static constexpr size_t kCorruptCopiesKept = 3;

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

  // Why the folder is not trusted, as a sentence that names it and says what to do:
  // it could not be made, is a link, is a file, or belongs to someone else.
  std::string trustProblem() const;

  // The error every write gets in an untrusted folder.
  Error untrustedError(File file) const;

  // "NAME in DIR is damaged and can't be read", for a caller to finish.
  Error damagedError(File file) const;

  // Whether anything (a link too) has the file's name.
  bool exists(File file) const;

 private:
  std::string directory_;
  int creationError_ = 0;  // errno of making the folder, when that failed
};

// Seconds since 1970 of a file's modification, with a fraction; none if it is missing.
std::optional<double> modificationSeconds(const std::string& path);

}  // namespace tallyfin
