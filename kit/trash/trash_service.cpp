#include "kit/trash/trash_service.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"
#include "kit/base/text.h"
#include "kit/cleanup/cleanup_rules.h"
#include "kit/cleanup/keep_list.h"
#include "kit/platform/trash_location.h"
#include "kit/cleanup/app_locations.h"
#include "kit/trash/refusal_rules.h"
#include "kit/platform/system_words.h"

namespace tallyfin {
namespace {

using Origin = TrashItem::Origin;

constexpr std::string_view kPersonalData = "Personal data \u2014 Tallyfin never touches it";
constexpr std::string_view kContainsPersonalData =
    "Contains personal data \u2014 Tallyfin never touches it";
constexpr std::string_view kPathChanged = "Path changed since the scan \u2014 rescan first";
constexpr std::string_view kCredential =
    "Looks like a key or password file \u2014 Tallyfin never touches it";
constexpr std::string_view kNoLongerExists = "No longer exists";
constexpr std::string_view kNotInTrash = "Not in your Trash";
constexpr std::string_view kNoLongerInTrash =
    "No longer in the Trash \u2014 it was emptied, or taken out with another tool";
constexpr std::string_view kAlreadyBack = "Already back in its place \u2014 put back with another tool";
constexpr std::string_view kDifferentItem = "A different item has that name in the Trash";
constexpr std::string_view kReplaced = "Replaced since it was checked \u2014 left in place. Rescan and try again.";
constexpr int64_t kLargestKeyFile = 65'535;

// Reasons after which an entry's item can never come back through it: the Trash
// is a real folder and the name in it is free or holds something else.
// "Finder's Put Back", in the words of this system's file manager.
std::string putBack() { return std::string(platform::fileManager()) + "'s " + std::string(platform::putBackCommand()); }

bool isGoneForGood(std::string_view reason) {
  return reason == kNoLongerInTrash || reason == kDifferentItem || reason == kAlreadyBack;
}

// Whether `info` is the very item the entry moved.
bool isJournalled(const JournalEntry& entry, const struct stat& info) {
  return entry.device && entry.inode && *entry.device == static_cast<int64_t>(info.st_dev) &&
         *entry.inode == info.st_ino;
}

// Whether the item already stands at its original place again: another tool (a file
// manager, trash-restore, gio) put it back, which keeps its device and inode.
bool isBackInPlace(const JournalEntry& entry) {
  struct stat info;
  return ::lstat(entry.path.c_str(), &info) == 0 && isJournalled(entry, info);
}

ItemIdentity::Type typeOf(mode_t mode) {
  if (S_ISDIR(mode)) return ItemIdentity::Type::folder;
  if (S_ISREG(mode)) return ItemIdentity::Type::file;
  if (S_ISLNK(mode)) return ItemIdentity::Type::link;
  return ItemIdentity::Type::other;
}

ItemIdentity identityOf(const struct stat& info) {
  return {typeOf(info.st_mode), static_cast<uint64_t>(info.st_dev), static_cast<uint64_t>(info.st_ino)};
}

// A single trailing "/" is not part of the item's name.
std::string withoutTrailingSlash(std::string path) {
  if (path.size() >= 2 && path.back() == '/') path.pop_back();
  return path;
}

// Why an item that is `now` on disk is not the one that was seen, if it isn't.
std::optional<std::string> replacedSinceSeen(const TrashItem& item, const struct stat& now) {
  if (!item.seen || item.seen->matches(identityOf(now))) return std::nullopt;
  return std::string(kReplaced);
}

// The Trash's own folder must be itself: no link on the way, so what lands there
// can be found there again.
bool isRealFolder(const std::string& path) {
  char resolved[PATH_MAX];
  return ::realpath(path.c_str(), resolved) && path == resolved;
}

bool isSyntaxValid(std::string_view path) {
  return path.starts_with("/") && path.find("//") == std::string_view::npos &&
         path.find('\0') == std::string_view::npos && !hasDotComponents(path);
}

bool atOrUnder(std::string_view lower, std::string_view tree) {
  return lower == tree || (lower.starts_with(tree) && lower.size() > tree.size() &&
                           lower[tree.size()] == '/');
}

// Step 5's "~/.Trash" on this platform: the Mac's own name and the platform's Trash.
std::vector<std::string> trashRoots(const std::string& home) {
  return {lowercased(home + "/.Trash"), lowercased(platform::trashFolder(home))};
}

}  // namespace

std::optional<ItemIdentity> ItemIdentity::of(const std::string& path) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
  return identityOf(info);
}

std::optional<ItemIdentity> ItemIdentity::inScan(const DiskNode& tree, const std::string& path) {
  const DiskNode* node = tree.node(path);
  if (!node) return std::nullopt;
  switch (node->kind) {
    case DiskNode::Kind::folder:
    case DiskNode::Kind::bundle:
      return ItemIdentity{Type::folder, std::nullopt, std::nullopt};
    case DiskNode::Kind::file:
      return ItemIdentity{Type::file, std::nullopt, std::nullopt};
    case DiskNode::Kind::smaller:
    case DiskNode::Kind::unreadable:
      break;
  }
  return std::nullopt;
}

bool ItemIdentity::matches(const ItemIdentity& now) const {
  return type == now.type && (!device || device == now.device) && (!inode || inode == now.inode);
}

int64_t TrashOutcome::freedBytes() const {
  int64_t total = 0;
  for (const auto& entry : moved) total = saturatingAdd(total, entry.size);
  return total;
}

TrashService::TrashService(std::string home, Store store, std::shared_ptr<Trasher> trasher)
    : home_(std::move(home)), store_(std::move(store)), trasher_(std::move(trasher)) {}

std::optional<std::string> TrashService::refusal(const std::string& given, Origin origin) const {
  if (!isSyntaxValid(given)) return "Invalid path";
  const std::string path = withoutTrailingSlash(given);
  const std::string lower = lowercased(path);

  const bool leftover = origin == Origin::appLeftover;
  if (leftover && !AppUninstaller::isLeftoverLocation(path, home_)) return "Not one of the app's own items";
  if (origin == Origin::application) {
    if (auto reason = AppUninstaller::bundleRefusal(path, home_)) return reason;
    struct stat info;
    if (::lstat(path.c_str(), &info) != 0) return std::string(kNoLongerExists);
    if (!S_ISDIR(info.st_mode) || TrashRules::canonical(path) != path) return "Not an app";
    return trasher_ ? trasher_->refusal(path) : std::nullopt;
  }

  if (TrashRules::protectedPaths(home_).contains(lower)) return "Protected folder";
  for (const auto& trash : trashRoots(home_)) {
    if (atOrUnder(lower, trash)) return "Already in the Trash";
  }
  const auto trees = TrashRules::sensitiveTrees(home_, leftover);
  for (const auto& tree : trees) {
    if (atOrUnder(lower, tree)) return std::string(kPersonalData);
  }
  for (const auto& tree : trees) {
    if (tree.starts_with(lower + "/")) return std::string(kContainsPersonalData);
  }
  if (!lower.starts_with(lowercased(home_) + "/")) {
    bool otherDisk = lower.starts_with("/volumes/");
    for (const auto& folder : platform::otherDiskFolders()) {
      otherDisk = otherDisk || lower.starts_with(folder);
    }
    if (otherDisk) {
      return "On another disk \u2014 Tallyfin cleans your home folder on " + std::string(platform::yourComputer()) +
             ". Use " + std::string(platform::fileManager()) + " for external drives";
    }
    return "Outside your home folder \u2014 use the command shown, or " + std::string(platform::fileManager());
  }
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0) return std::string(kNoLongerExists);
  if (TrashRules::canonical(path) != path) return std::string(kPathChanged);
  if (!path.starts_with(home_ + "/")) return std::string(kPathChanged);
  if (origin == Origin::suggestion || origin == Origin::autopilot) {
    if (!CleanupRules::recognizes(path, home_)) return "Not a recognised cleanup item \u2014 rescan first";
    const auto kept = KeepList::read(store_);
    if (!kept) return kept.error().message;
    if (kept->contains(path)) return "You chose to keep this";
  }
  bool inGit = false;
  forEachComponent(path, [&](std::string_view piece) { inGit = inGit || piece == ".git"; });
  if (inGit) return "Part of a git repository's history";
  const std::string_view name = lastComponent(path);
  if (TrashRules::isCredentialFile(name)) return std::string(kCredential);
  if (lowercased(name).ends_with(".key") && S_ISREG(info.st_mode) && info.st_size <= kLargestKeyFile) {
    return std::string(kCredential);
  }
  return trasher_ ? trasher_->refusal(path) : std::nullopt;
}

std::optional<std::string> TrashService::refusal(const TrashItem& item) const {
  if (auto reason = refusal(item.path, item.origin)) return reason;
  struct stat now;
  if (::lstat(withoutTrailingSlash(item.path).c_str(), &now) != 0) return std::string(kNoLongerExists);
  return replacedSinceSeen(item, now);
}

TrashOutcome TrashService::trash(const std::vector<TrashItem>& items,
                                 const std::optional<std::string>& label, double now) const {
  TrashOutcome outcome;
  outcome.batch = Journal::batchId(now);
  for (const auto& item : items) {
    if (auto reason = refusal(item.path, item.origin)) {
      outcome.failed.emplace_back(item.path, *reason);
      continue;
    }
    const std::string path = withoutTrailingSlash(item.path);
    struct stat before;
    if (::lstat(path.c_str(), &before) != 0) {
      outcome.failed.emplace_back(item.path, std::string(kNoLongerExists));
      continue;
    }
    // Compared on the very lstat whose identity the Trash must give back.
    if (auto reason = replacedSinceSeen(item, before)) {
      outcome.failed.emplace_back(item.path, *reason);
      continue;
    }
    auto landed = trasher_->trash(path);
    if (!landed) {
      outcome.failed.emplace_back(item.path, landed.error().message);
      continue;
    }
    if (!landed->has_value()) {
      outcome.failed.emplace_back(
          item.path, "Moved to the Trash, but " + std::string(platform::systemName()) + " didn't say where \u2014 use " + putBack());
      continue;
    }
    const std::string& trashed = **landed;
    struct stat after;
    if (::lstat(trashed.c_str(), &after) == 0 && after.st_dev == before.st_dev &&
        after.st_ino == before.st_ino) {
      outcome.moved.push_back({path, trashed, std::max<int64_t>(item.size, 0), now, outcome.batch,
                               static_cast<int64_t>(before.st_dev), before.st_ino, label});
    } else {
      (void)trasher_->restore(trashed, path);
      outcome.failed.emplace_back(item.path,
                                  "Changed while moving \u2014 left in place. Rescan and try again.");
    }
  }
  if (outcome.moved.empty()) return outcome;
  const auto recorded = store_.update<std::vector<JournalEntry>>(
      Store::File::journal, Store::OnDamage::keepAside, [&](std::vector<JournalEntry>& journal) -> Status {
        journal.insert(journal.end(), outcome.moved.begin(), outcome.moved.end());
        journal = Journal::pruned(std::move(journal), now);
        return ok();
      });
  if (!recorded) {
    outcome.journalError = "Moved, but couldn't record it for Undo (" + recorded.error().message +
                           "). Use " + putBack() + " if needed.";
  } else {
    outcome.journalNote = *recorded;
  }
  return outcome;
}

std::optional<std::string> TrashService::restoreRefusal(const JournalEntry& entry) const {
  const std::string folder = platform::trashItemsFolder(home_);
  const std::string items = folder + "/";
  const std::string& trashed = entry.trashedPath;
  if (!trashed.starts_with(items) || trashed.find('/', items.size()) != std::string::npos ||
      trashed.size() == items.size() || !isRealFolder(folder)) {
    return std::string(kNotInTrash);
  }
  struct stat info;
  if (::lstat(trashed.c_str(), &info) != 0) {
    if (errno != ENOENT) return std::string(kNotInTrash);
    return std::string(isBackInPlace(entry) ? kAlreadyBack : kNoLongerInTrash);
  }
  if (TrashRules::canonical(trashed) != trashed) return std::string(kNotInTrash);
  if (!isJournalled(entry, info)) return std::string(isBackInPlace(entry) ? kAlreadyBack : kDifferentItem);
  const std::string& path = entry.path;
  struct stat occupant;
  if (::lstat(path.c_str(), &occupant) == 0) return "Something already exists at the original location";

  const std::string lower = lowercased(path);
  const bool bundle = AppUninstaller::isAppBundleLocation(path, home_);
  const bool leftover = AppUninstaller::isLeftoverLocation(path, home_);
  bool allowed = (path.starts_with(home_ + "/") || bundle) && isSyntaxValid(path) &&
                 !TrashRules::protectedPaths(home_).contains(lower);
  if (allowed && !bundle && !leftover) {
    for (const auto& tree : TrashRules::sensitiveTrees(home_, false)) {
      allowed = allowed && !atOrUnder(lower, tree);
    }
  }
  if (!allowed) return "Original location isn't allowed";
  const std::string parent(parentPath(path));
  char resolved[PATH_MAX];
  if (!::realpath(parent.c_str(), resolved) || parent != resolved) {
    return "Original folder moved or was replaced";
  }
  return std::nullopt;
}

UndoOutcome TrashService::undo(const std::string& batchId) const {
  UndoOutcome outcome;
  const auto rewritten = store_.update<std::vector<JournalEntry>>(
      Store::File::journal, Store::OnDamage::keepAside, [&](std::vector<JournalEntry>& journal) -> Status {
        std::vector<JournalEntry> kept;
        for (const auto& entry : journal) {
          if (entry.batch != batchId) {
            kept.push_back(entry);
            continue;
          }
          if (auto reason = restoreRefusal(entry)) {
            outcome.failed.emplace_back(entry.path, *reason);
            if (!isGoneForGood(*reason)) kept.push_back(entry);
            continue;
          }
          if (auto restored = trasher_->restore(entry.trashedPath, entry.path)) {
            outcome.restored.push_back(entry.path);
          } else {
            outcome.failed.emplace_back(entry.path, restored.error().message);
            kept.push_back(entry);
          }
        }
        journal = std::move(kept);
        return ok();
      });
  if (rewritten) outcome.journalNote = *rewritten;
  return outcome;
}

bool TrashService::isInTrash(const JournalEntry& entry) const {
  const std::string items = platform::trashItemsFolder(home_) + "/";
  const std::string& trashed = entry.trashedPath;
  struct stat info;
  return trashed.starts_with(items) && trashed.find('/', items.size()) == std::string::npos &&
         ::lstat(trashed.c_str(), &info) == 0 && isJournalled(entry, info);
}

std::optional<TrashBatch> TrashService::batchToUndo(const std::optional<std::string>& wanted, double now) const {
  std::optional<TrashBatch> chosen;
  for (auto& batch : batches(Journal::kRetentionSeconds / 86'400, now)) {
    if (wanted ? batch.id == *wanted : (!chosen || batch.date > chosen->date)) chosen = std::move(batch);
  }
  return chosen;
}

std::vector<TrashBatch> TrashService::batches(double withinDays, double now) const {
  const auto journal = store_.load<std::vector<JournalEntry>>(Store::File::journal)
                           .value_or(std::vector<JournalEntry>{});
  return Journal::batches(journal, withinDays, now);
}

}  // namespace tallyfin
