#pragma once

// A small btrfs file system in a file inside a test's temp folder, mounted through
// a loop device: what only a file system with shared extents (reflinks) shows.

#include <memory>
#include <string>

namespace tallyfin::testing {

class LoopVolume {
 public:
  // Made and mounted below `folder`; none, with the reason in `whyNot`, where
  // mkfs.btrfs is missing or loop mounts are not allowed (not root, no loop
  // devices, a container that forbids mounting).
  static std::unique_ptr<LoopVolume> btrfs(const std::string& folder, std::string& whyNot);

  LoopVolume(const LoopVolume&) = delete;
  LoopVolume& operator=(const LoopVolume&) = delete;
  ~LoopVolume();  // unmounts, so the temp folder can go

  const std::string& path() const { return mountPoint_; }

 private:
  explicit LoopVolume(std::string mountPoint) : mountPoint_(std::move(mountPoint)) {}
  std::string mountPoint_;
};

// `cp --reflink=always`: a copy that shares every extent with `from`; false when
// the file system cannot.
bool reflinkCopy(const std::string& from, const std::string& to);

}  // namespace tallyfin::testing
