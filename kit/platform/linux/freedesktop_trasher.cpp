// The freedesktop.org Trash (the one file managers and trash-cli share): an item
// goes to $XDG_DATA_HOME/Trash/files/NAME and its origin to info/NAME.trashinfo.
// The info file is made first, exclusively, so a name is claimed before anything
// moves; items are only ever renamed, never copied and deleted.

#include <fcntl.h>
#include <limits.h>
#include <linux/fs.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "kit/base/paths.h"
#include "kit/base/system_error.h"
#include "kit/platform/trash_location.h"
#include "kit/base/text.h"
#include "kit/platform/trasher.h"

namespace tallyfin {
namespace {

constexpr int kMostNameAttempts = 10'000;
constexpr std::string_view kInfoSuffix = ".trashinfo";
// A name whose info file would pass the file system's 255-byte limit.
constexpr size_t kLongestName = 255 - kInfoSuffix.size();

int renameNoReplace(int fromFolder, const char* from, int toFolder, const char* to) {
  return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, RENAME_NOREPLACE));
}

// RFC 2396 escaping of everything but unreserved characters and "/".
std::string percentEncoded(std::string_view path) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = std::isalnum(byte) || std::string_view("/-_.!~*'()").find(c) != std::string_view::npos;
    if (plain) {
      out += c;
    } else {
      out += '%';
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
    }
  }
  return out;
}

std::string localTimestamp() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
  return text;
}

Error systemError(const std::string& what, int code) {
  return {what + ": " + errnoText(code) + ".", code};
}

class FreedesktopTrasher final : public Trasher {
 public:
  explicit FreedesktopTrasher(const std::string& home)
      : trash_(platform::trashFolder(home)), files_(trash_ + "/files"), info_(trash_ + "/info") {}

  Expected<std::optional<std::string>, Error> trash(const std::string& path) override {
    if (auto made = makeFolders(); !made) return fail(made.error());
    if (auto problem = folderProblem()) return fail(Error{*problem, ENOTDIR});
    if (lastComponent(path).size() > kLongestName) return fail(Error{tooLong(), ENAMETOOLONG});
    struct stat item, files;
    if (::lstat(path.c_str(), &item) != 0) return fail(systemError("Can't move " + path, errno));
    if (::stat(files_.c_str(), &files) == 0 && files.st_dev != item.st_dev) return fail(otherDisk(path));

    const std::string base(lastComponent(path));
    for (int attempt = 1; attempt <= kMostNameAttempts; ++attempt) {
      const std::string name = attempt == 1 ? base : base + "." + std::to_string(attempt);
      const std::string infoPath = info_ + "/" + name + std::string(kInfoSuffix);
      const int fd = ::open(infoPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
      if (fd < 0) {
        if (errno == EEXIST) continue;
        return fail(systemError("Can't write " + infoPath, errno));
      }
      const std::string info = "[Trash Info]\nPath=" + percentEncoded(path) +
                               "\nDeletionDate=" + localTimestamp() + "\n";
      const bool written = ::write(fd, info.data(), info.size()) == static_cast<ssize_t>(info.size());
      ::close(fd);
      const std::string landed = files_ + "/" + name;
      if (written && renameNoReplace(AT_FDCWD, path.c_str(), AT_FDCWD, landed.c_str()) == 0) {
        return std::optional<std::string>(landed);
      }
      const int code = written ? errno : EIO;
      ::unlink(infoPath.c_str());
      if (code == EEXIST) continue;  // a stray item holds the name without its info file
      if (code == EXDEV) return fail(otherDisk(path));
      return fail(systemError("Can't move " + path + " to the Trash", code));
    }
    return fail(Error{"Can't find a free name for " + base + " in the Trash.", EEXIST});
  }

  Status restore(const std::string& from, const std::string& to) override {
    const std::string parent(parentPath(to));
    const int folder = ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0) return fail(systemError("Can't open " + parent, errno));
    char opened[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(folder);
    const ssize_t length = ::readlink(link.c_str(), opened, sizeof opened - 1);
    if (length < 0 || lowercased(std::string_view(opened, static_cast<size_t>(length))) !=
                          lowercased(parent)) {
      ::close(folder);
      return fail(systemError("Can't put back into " + parent, ENOTDIR));
    }
    const std::string name(lastComponent(to));
    const int moved = renameNoReplace(AT_FDCWD, from.c_str(), folder, name.c_str());
    const int code = errno;
    ::close(folder);
    if (moved != 0) return fail(systemError("Can't put back " + to, code ? code : EIO));
    if (parentPath(from) == files_) {
      ::unlink((info_ + "/" + std::string(lastComponent(from)) + std::string(kInfoSuffix)).c_str());
    }
    return ok();
  }

  std::optional<std::string> refusal(const std::string& path) const override {
    if (lastComponent(path).size() > kLongestName) return tooLong();
    return folderProblem();
  }

 private:
  static std::string tooLong() {
    return "The name is too long for the Trash's records (at most " + std::to_string(kLongestName) +
           " bytes) \u2014 rename it shorter, or use your file manager.";
  }

  // Items go only into a Trash that is a real folder of this user's, reached without
  // links: elsewhere they could not be found again to be put back. A Trash not made
  // yet is no problem; moving makes it.
  std::optional<std::string> folderProblem() const {
    for (const std::string* folder : {&trash_, &files_, &info_}) {
      struct stat info;
      if (::lstat(folder->c_str(), &info) != 0) continue;
      char resolved[PATH_MAX];
      const bool real = S_ISDIR(info.st_mode) && ::realpath(folder->c_str(), resolved) && *folder == resolved;
      if (!real) {
        return "Your Trash folder " + *folder +
               " is a link or not a folder \u2014 Tallyfin moves things only into a real Trash folder. "
               "Replace it with a folder, then try again.";
      }
      if (info.st_uid != ::getuid()) {
        return "Your Trash folder " + *folder + " isn't owned by you \u2014 Tallyfin moves things only into "
               "your own Trash. Fix its owner, then try again.";
      }
    }
    return std::nullopt;
  }

  Status makeFolders() const {
    // A fresh account may not have ~/.local/share yet; its missing folders are made private (0700).
    const std::string data(parentPath(trash_));
    for (size_t slash = data.find('/', 1); slash != std::string::npos; slash = data.find('/', slash + 1)) {
      ::mkdir(data.substr(0, slash).c_str(), 0700);
    }
    ::mkdir(data.c_str(), 0700);
    for (const std::string* folder : {&trash_, &files_, &info_}) {
      if (::mkdir(folder->c_str(), 0700) != 0 && errno != EEXIST) {
        return fail(systemError("Can't make the Trash folder " + *folder, errno));
      }
    }
    return ok();
  }

  Error otherDisk(const std::string& path) const {
    return {path + " is on another disk than your Trash (" + trash_ +
                ") — Tallyfin only moves items and never copies and deletes them. Use your file "
                "manager for it.",
            EXDEV};
  }

  std::string trash_, files_, info_;
};

}  // namespace

std::shared_ptr<Trasher> systemTrasher(const std::string& home) {
  return std::make_shared<FreedesktopTrasher>(home);
}

}  // namespace tallyfin
