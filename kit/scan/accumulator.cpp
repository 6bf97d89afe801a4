#include "kit/scan/accumulator.h"

#include <algorithm>
#include <iterator>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"

namespace tallyfin {

void HardLinks::add(std::string_view folder, std::string_view name, uint64_t inode, int64_t size) {
  if (pieces_.empty()) pieces_.emplace_back();
  Piece& piece = pieces_.back();
  if (piece.folders.empty() || piece.at(piece.folders.back().start, piece.folders.back().length) != folder) {
    piece.folders.push_back({piece.text.size(), folder.size()});
    piece.text += folder;
  }
  piece.links.push_back({inode, size, piece.text.size(), static_cast<uint32_t>(name.size()),
                         static_cast<uint32_t>(piece.folders.size() - 1)});
  piece.text += name;
}

void HardLinks::absorb(HardLinks&& other) {
  pieces_.insert(pieces_.end(), std::make_move_iterator(other.pieces_.begin()),
                 std::make_move_iterator(other.pieces_.end()));
  other.pieces_.clear();
}

HardLinks::Mark HardLinks::mark() const {
  if (pieces_.empty()) return {};
  const Piece& piece = pieces_.back();
  return {piece.links.size(), piece.folders.size(), piece.text.size()};
}

void HardLinks::rollBack(const Mark& mark) {
  if (pieces_.empty()) return;
  Piece& piece = pieces_.back();
  piece.links.resize(mark.links);
  piece.folders.resize(mark.folders);
  piece.text.resize(mark.text);
}

std::string HardLinks::Piece::path(const Link& link) const {
  const Span& folder = folders[link.folder];
  return joinPath(at(folder.start, folder.length), at(link.nameStart, link.nameLength));
}

void HardLinks::forEachShared(
    FunctionRef<void(int64_t size, std::vector<std::string>& paths)> onShared) {
  const auto byInode = [](const Link& a, const Link& b) { return a.inode < b.inode; };
  for (Piece& piece : pieces_) std::sort(piece.links.begin(), piece.links.end(), byInode);
  // Walks all pieces in inode order at once, so no piece is copied into another.
  std::vector<size_t> next(pieces_.size(), 0);
  std::vector<size_t> groupEnds(pieces_.size(), 0);
  std::vector<std::string> paths;
  for (;;) {
    const Link* lowest = nullptr;
    for (size_t i = 0; i < pieces_.size(); ++i) {
      if (next[i] < pieces_[i].links.size() &&
          (!lowest || pieces_[i].links[next[i]].inode < lowest->inode)) {
        lowest = &pieces_[i].links[next[i]];
      }
    }
    if (!lowest) return;
    const uint64_t inode = lowest->inode;
    const int64_t size = lowest->size;
    // An inode met once (its other links lie outside the scan) needs no path.
    size_t count = 0;
    for (size_t i = 0; i < pieces_.size(); ++i) {
      const auto& links = pieces_[i].links;
      groupEnds[i] = next[i];
      while (groupEnds[i] < links.size() && links[groupEnds[i]].inode == inode) ++groupEnds[i];
      count += groupEnds[i] - next[i];
    }
    paths.clear();
    for (size_t i = 0; i < pieces_.size(); ++i) {
      for (; next[i] < groupEnds[i]; ++next[i]) {
        if (count >= 2) paths.push_back(pieces_[i].path(pieces_[i].links[next[i]]));
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
