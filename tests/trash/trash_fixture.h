#pragma once

// A home folder in a temp folder, with $XDG_DATA_HOME (and so the Trash and the
// data folder) inside it: nothing a test does reaches the real home or Trash.

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "kit/platform/trash_location.h"
#include "kit/trash/trash_service.h"
#include "tests/support/temp_folder.h"

namespace tallyfin::testing {

class TempHome {
 public:
  TempHome() {
    const char* previous = std::getenv("XDG_DATA_HOME");
    if (previous) previousData_ = previous;
    ::setenv("XDG_DATA_HOME", (folder_ / ".local/share").c_str(), 1);
    makeFolder(folder_ / ".local/share");
  }
  ~TempHome() {
    if (previousData_) {
      ::setenv("XDG_DATA_HOME", previousData_->c_str(), 1);
    } else {
      ::unsetenv("XDG_DATA_HOME");
    }
  }

  const std::string& path() const { return folder_.path(); }
  std::string operator/(const std::string& relative) const { return folder_ / relative; }
  std::string trashFiles() const { return platform::trashItemsFolder(path()); }
  Store store() const { return Store(folder_ / ".local/share/Tallyfin"); }

  TrashService service(std::shared_ptr<Trasher> trasher = nullptr) const {
    return TrashService(path(), store(), trasher ? trasher : systemTrasher(path()));
  }

 private:
  TempFolder folder_;
  std::optional<std::string> previousData_;
};

}  // namespace tallyfin::testing
