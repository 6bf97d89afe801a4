#include "kit/scan/accumulator.h"

#include <iterator>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"

namespace tallyfin {

void HardLinks::add(std::string_view folder, std::string_view name, uint64_t inode, int64_t size) {
  if (folders_.empty() || folders_.back() != folder) folders_.emplace_back(folder);
  links_.push_back({inode, size, names_.size(), static_cast<uint32_t>(name.size()),
                    static_cast<uint32_t>(folders_.size() - 1)});
  names_ += name;
}

void HardLinks::absorb(HardLinks&& other) {
  const size_t nameShift = names_.size();
  const auto folderShift = static_cast<uint32_t>(folders_.size());
  names_ += other.names_;
  folders_.insert(folders_.end(), std::make_move_iterator(other.folders_.begin()),
                  std::make_move_iterator(other.folders_.end()));
  links_.reserve(links_.size() + other.links_.size());
  for (Link link : other.links_) {
    link.nameStart += nameShift;
    link.folder += folderShift;
    links_.push_back(link);
  }
  other = HardLinks();
}

std::string HardLinks::path(const Link& link) const {
  return joinPath(folders_[link.folder], std::string_view(names_).substr(link.nameStart, link.nameLength));
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

void Accumulator::absorb(Accumulator&& other) {
  const auto append = [](auto& into, auto& from) {
    into.insert(into.end(), std::make_move_iterator(from.begin()),
                std::make_move_iterator(from.end()));
  };
  append(largeFiles, other.largeFiles);
  append(projectJunk, other.projectJunk);
  links.absorb(std::move(other.links));
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

std::vector<TypeTotal> Accumulator::typeTotals() const {
  std::vector<TypeTotal> totals;
  for (size_t i = 0; i < kFileKindCount; ++i) {
    if (typeFiles[i] == 0 && typeBytes[i] == 0) continue;
    totals.push_back({static_cast<FileKind>(i), typeBytes[i], typeFiles[i]});
  }
  return totals;
}

}  // namespace tallyfin
