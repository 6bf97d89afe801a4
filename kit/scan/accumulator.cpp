#include "kit/scan/accumulator.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"

namespace tallyfin {

namespace {

// Grows by a quarter instead of doubling: a worker's links can be a good part of
// a scan's memory, and 16 workers would each hold up to twice what they need.
template <class Container>
void makeRoom(Container& container, size_t extra) {
  if (container.size() + extra <= container.capacity()) return;
  container.reserve(container.size() + extra + std::max<size_t>(container.size() / 4, 256));
}

}  // namespace

uint32_t HardLinks::Part::append(std::string_view added) {
  makeRoom(text, added.size() + 1);
  const auto start = static_cast<uint32_t>(text.size());
  text += added;
  text += '\0';
  return start;
}

void HardLinks::add(std::string_view folder, std::string_view name, uint64_t inode, int64_t size) {
  constexpr size_t kTextLimit = std::numeric_limits<uint32_t>::max();
  if (parts_.empty() || parts_.back().text.size() + folder.size() + name.size() + 2 > kTextLimit) {
    parts_.emplace_back();
  }
  Part& part = parts_.back();
  if (part.folders.empty() || part.at(part.folders.back()) != folder) {
    makeRoom(part.folders, 1);
    part.folders.push_back(part.append(folder));
  }
  makeRoom(part.links, 1);
  part.links.push_back(
      {inode, size, part.append(name), static_cast<uint32_t>(part.folders.size() - 1)});
}

void HardLinks::absorb(HardLinks&& other) {
  parts_.insert(parts_.end(), std::make_move_iterator(other.parts_.begin()),
                 std::make_move_iterator(other.parts_.end()));
  other.parts_.clear();
}

HardLinks::Mark HardLinks::mark() const {
  if (parts_.empty()) return {};
  const Part& part = parts_.back();
  return {parts_.size(), part.links.size(), part.folders.size(), part.text.size()};
}

void HardLinks::rollBack(const Mark& mark) {
  parts_.resize(mark.parts);
  if (parts_.empty()) return;
  Part& part = parts_.back();
  part.links.resize(mark.links);
  part.folders.resize(mark.folders);
  part.text.resize(mark.text);
}

std::string HardLinks::Part::path(const Link& link) const {
  return joinPath(at(folders[link.folder]), at(link.name));
}

void HardLinks::forEachShared(
    FunctionRef<void(int64_t size, std::vector<std::string>& paths)> onShared) {
  const auto byInode = [](const Link& a, const Link& b) { return a.inode < b.inode; };
  for (Part& part : parts_) std::sort(part.links.begin(), part.links.end(), byInode);
  // Walks all parts in inode order at once, so no part is copied into another.
  std::vector<size_t> next(parts_.size(), 0);
  std::vector<size_t> groupEnds(parts_.size(), 0);
  std::vector<std::string> paths;
  for (;;) {
    const Link* lowest = nullptr;
    for (size_t i = 0; i < parts_.size(); ++i) {
      if (next[i] < parts_[i].links.size() &&
          (!lowest || parts_[i].links[next[i]].inode < lowest->inode)) {
        lowest = &parts_[i].links[next[i]];
      }
    }
    if (!lowest) return;
    const uint64_t inode = lowest->inode;
    const int64_t size = lowest->size;
    // An inode met once (its other links lie outside the scan) needs no path.
    size_t count = 0;
    for (size_t i = 0; i < parts_.size(); ++i) {
      const auto& links = parts_[i].links;
      groupEnds[i] = next[i];
      while (groupEnds[i] < links.size() && links[groupEnds[i]].inode == inode) ++groupEnds[i];
      count += groupEnds[i] - next[i];
    }
    paths.clear();
    for (size_t i = 0; i < parts_.size(); ++i) {
      for (; next[i] < groupEnds[i]; ++next[i]) {
        if (count >= 2) paths.push_back(parts_[i].path(parts_[i].links[next[i]]));
      }
    }
    if (count < 2) continue;
    std::sort(paths.begin(), paths.end());
    onShared(size, paths);
  }
}

Accumulator::Checkpoint Accumulator::checkpoint() const {
  return {largeFiles.size(), links.mark(), typeBytes, typeFiles};
}

void Accumulator::rollBack(const Checkpoint& checkpoint) {
  largeFiles.resize(checkpoint.largeFiles);
  links.rollBack(checkpoint.links);
  typeBytes = checkpoint.typeBytes;
  typeFiles = checkpoint.typeFiles;
}

void Accumulator::countFile(FileKind kind, int64_t size) {
  const auto index = static_cast<size_t>(kind);
  typeBytes[index] = saturatingAdd(typeBytes[index], size);
  typeFiles[index] = saturatingAdd(typeFiles[index], 1);
}

void Accumulator::deny(std::string_view display) {
  denied = saturatingAdd(denied, 1);
  if (deniedSample.size() < kDeniedSampleLimit) deniedSample.emplace_back(display);
}

void Accumulator::absorb(std::vector<Accumulator>& others) {
  const auto append = [](auto& into, auto& from) {
    into.insert(into.end(), std::make_move_iterator(from.begin()),
                std::make_move_iterator(from.end()));
    from.clear();
  };
  for (auto& other : others) {
    links.absorb(std::move(other.links));
    append(largeFiles, other.largeFiles);
    append(projectJunk, other.projectJunk);
    for (size_t i = 0; i < kFileKindCount; ++i) {
      typeBytes[i] = saturatingAdd(typeBytes[i], other.typeBytes[i]);
      typeFiles[i] = saturatingAdd(typeFiles[i], other.typeFiles[i]);
    }
    denied = saturatingAdd(denied, other.denied);
    for (auto& path : other.deniedSample) {
      if (deniedSample.size() >= kDeniedSampleLimit) break;
      deniedSample.push_back(std::move(path));
    }
  }
}

std::vector<TypeTotal> Accumulator::typeTotals() const {
  std::vector<TypeTotal> totals;
  for (size_t i = 0; i < kFileKindCount; ++i) {
    if (typeFiles[i] == 0 && typeBytes[i] == 0) continue;
    totals.push_back({static_cast<FileKind>(i), typeBytes[i], typeFiles[i]});
  }
  return totals;
}

}  // namespace tallyfin
